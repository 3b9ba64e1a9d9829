#include "platform/system/imaging.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

std::string Number(uint32_t value, int bytes, bool bigFirst = false) {
  std::string text;
  for (int i = 0; i < bytes; ++i) {
    text += static_cast<char>(value >> (8 * (bigFirst ? bytes - 1 - i : i)) & 0xFF);
  }
  return text;
}

// 24 bits a pixel, all of one colour.
std::string Bmp(uint32_t width, uint32_t height) {
  const uint32_t line = (width * 3 + 3) / 4 * 4;
  std::string bytes = "BM" + Number(54 + line * height, 4) + Number(0, 4) + Number(54, 4) +
                      Number(40, 4) + Number(width, 4) + Number(height, 4) + Number(1, 2) +
                      Number(24, 2) + std::string(24, '\0');
  return bytes + std::string(size_t{line} * height, '\x7F');
}

TEST(Imaging, ShrinksIntoTheBoxAndNeverGrows) {
  constexpr PictureSize kBox{235, 148};
  const struct {
    PictureSize own;
    PictureSize fits;
  } kRows[] = {{{400, 100}, {235, 59}},  {{100, 400}, {37, 148}},  {{10, 10}, {10, 10}},
               {{235, 148}, {235, 148}}, {{236, 148}, {235, 147}}, {{235, 149}, {233, 148}},
               {{5000, 1}, {235, 1}},    {{1, 5000}, {1, 148}}};
  for (const auto& row : kRows) {
    EXPECT_EQ(FitInto(row.own, kBox), row.fits) << row.own.width << " x " << row.own.height;
    std::string jpeg;
    ASSERT_EQ(Imaging::Default().ToJpeg(Bmp(row.own.width, row.own.height), kBox, jpeg),
              PictureError::None);
    EXPECT_EQ(SizeOfPicture(jpeg), row.fits);
  }
}

TEST(Imaging, WhatIsNoWholePictureOfAKnownFormatGivesNone) {
  const std::string whole = Bmp(60, 40);
  std::string jpeg;
  ASSERT_EQ(Imaging::Default().ToJpeg(whole, {30, 30}, jpeg), PictureError::None);
  const std::string small = jpeg;
  // A few bytes that would be ten gigabytes in memory.
  const std::string bomb = "\x89PNG\r\n\x1A\n" + Number(13, 4, true) + "IHDR" +
                           Number(50'000, 4, true) + Number(50'000, 4, true) +
                           std::string("\x08\x06\0\0\0", 5);
  EXPECT_EQ(SizeOfPicture(bomb), (PictureSize{50'000, 50'000}));
  for (const std::string& bytes :
       {std::string(), std::string("no picture"), bomb, whole.substr(0, 30),
        whole.substr(0, whole.size() / 2), small.substr(0, small.size() / 2),
        std::string("GIF89a\x10\0\x10\0", 10), std::string("RIFF\0\0\0\0WEBPVP8X", 16)}) {
    EXPECT_EQ(Imaging::Default().ToJpeg(bytes, {30, 30}, jpeg), PictureError::NotLoaded)
        << bytes.substr(0, 8);
    EXPECT_EQ(jpeg, "");
  }
}

}  // namespace
}  // namespace qv
