#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/system/imaging.h"

namespace qv {
namespace {

// Numbers within bytes; 0 behind their end.
class Header {
 public:
  explicit Header(std::string_view bytes) : bytes_(bytes) {}

  uint32_t Byte(size_t at) const {
    return at < bytes_.size() ? static_cast<unsigned char>(bytes_[at]) : 0;
  }
  uint32_t Big16(size_t at) const { return Byte(at) << 8 | Byte(at + 1); }
  uint32_t Big32(size_t at) const { return Big16(at) << 16 | Big16(at + 2); }
  uint32_t Little16(size_t at) const { return Byte(at) | Byte(at + 1) << 8; }
  uint32_t Little24(size_t at) const { return Little16(at) | Byte(at + 2) << 16; }
  uint32_t Little32(size_t at) const { return Little16(at) | Little16(at + 2) << 16; }
  bool Has(size_t at, std::string_view text) const {
    return at <= bytes_.size() && bytes_.substr(at).starts_with(text);
  }
  size_t size() const { return bytes_.size(); }

 private:
  std::string_view bytes_;
};

PictureSize OfPng(const Header& header) {
  return header.Has(12, "IHDR") ? PictureSize{header.Big32(16), header.Big32(20)} : PictureSize();
}

PictureSize OfGif(const Header& header) {
  return {header.Little16(6), header.Little16(8)};
}

PictureSize OfBmp(const Header& header) {
  constexpr uint32_t kOldHeader = 12;
  if (header.Little32(14) == kOldHeader) return {header.Little16(18), header.Little16(20)};
  // A negative height counts the lines from the top.
  const auto height = static_cast<int32_t>(header.Little32(22));
  return {header.Little32(18), static_cast<uint32_t>(std::abs(static_cast<int64_t>(height)))};
}

// The frame's header stands behind any number of other segments.
PictureSize OfJpeg(const Header& header) {
  for (size_t at = 2; at + 9 < header.size();) {
    if (header.Byte(at) != 0xFF) return {};
    const uint32_t marker = header.Byte(at + 1);
    if (marker == 0xFF) {  // filling
      ++at;
      continue;
    }
    // Not those of tables that share the range.
    const bool isFrame =
        marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (isFrame) return {header.Big16(at + 7), header.Big16(at + 5)};
    at += 2 + header.Big16(at + 2);
  }
  return {};
}

PictureSize OfWebp(const Header& header) {
  if (header.Has(12, "VP8 ")) {
    return {header.Little16(26) & 0x3FFF, header.Little16(28) & 0x3FFF};
  }
  if (header.Has(12, "VP8L")) {
    const uint32_t bits = header.Little32(21);
    return {(bits & 0x3FFF) + 1, (bits >> 14 & 0x3FFF) + 1};
  }
  if (header.Has(12, "VP8X")) return {header.Little24(24) + 1, header.Little24(27) + 1};
  return {};
}

}  // namespace

PictureSize SizeOfPicture(std::string_view bytes) {
  const Header header(bytes);
  PictureSize size;
  if (header.Has(0, "\x89PNG\r\n\x1A\n")) size = OfPng(header);
  if (header.Has(0, "GIF8")) size = OfGif(header);
  if (header.Has(0, "BM")) size = OfBmp(header);
  if (header.Has(0, "\xFF\xD8\xFF")) size = OfJpeg(header);
  if (header.Has(0, "RIFF") && header.Has(8, "WEBP")) size = OfWebp(header);
  return size.width == 0 || size.height == 0 ? PictureSize() : size;
}

PictureSize FitInto(PictureSize picture, PictureSize box) {
  if (picture.width <= box.width && picture.height <= box.height) return picture;
  const auto scaled = [](uint32_t side, uint32_t limit, uint32_t other) {
    const uint64_t rounded = (uint64_t{side} * limit * 2 + other) / (uint64_t{other} * 2);
    return static_cast<uint32_t>(std::max<uint64_t>(rounded, 1));
  };
  // The side that is further beyond its limit decides.
  const bool widthDecides =
      uint64_t{picture.width} * box.height >= uint64_t{picture.height} * box.width;
  if (widthDecides) return {box.width, scaled(picture.height, box.width, picture.width)};
  return {scaled(picture.width, box.height, picture.height), box.height};
}

}  // namespace qv
