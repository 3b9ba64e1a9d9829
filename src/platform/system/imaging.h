// Pictures: read, made smaller, written as JPEG.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qv {

struct PictureSize {
  uint32_t width = 0;
  uint32_t height = 0;

  friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

// The size that a picture's header tells: JPEG, PNG, GIF, BMP, WebP. Nothing for another format or
// a header that is cut: 0 by 0. Decodes nothing.
PictureSize SizeOfPicture(std::string_view bytes);

// The largest size of these proportions within the box: rounded, at least one pixel each way. What
// fits already keeps its size.
PictureSize FitInto(PictureSize picture, PictureSize box);

enum class PictureError : uint8_t {
  None,
  NoLibrary,  // pictures cannot be read on this system
  NotLoaded,  // no picture of a known format, cut, or of more than kMostPixels
  NoBitmap,   // no memory for it
  NotSaved,
};

// A picture of more pixels is not decoded: one of 50,000 by 50,000 takes a few bytes in a file, and
// ten gigabytes in memory.
inline constexpr uint64_t kMostPixels = 40'000'000;

class Imaging {
 public:
  virtual ~Imaging() = default;
  // The picture as JPEG, within the box. What is transparent becomes white.
  virtual PictureError ToJpeg(std::string_view bytes, PictureSize box, std::string& jpeg) = 0;

  static Imaging& Default();
};

}  // namespace qv
