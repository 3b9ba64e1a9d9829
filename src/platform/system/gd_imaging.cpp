// Imaging with libgd.
#include <gd.h>

#include <climits>
#include <memory>

#include "platform/system/imaging.h"

namespace qv {
namespace {

constexpr int kQuality = 90;

struct FreeImage {
  void operator()(gdImage* image) const noexcept { gdImageDestroy(image); }
};
using Image = std::unique_ptr<gdImage, FreeImage>;

void Ignore(int, const char*, va_list) {}

// These three would give what there is of a picture that was cut.
gdImagePtr ReadWholeJpeg(int size, void* data) {
  return gdImageCreateFromJpegPtrEx(size, data, 0);
}
gdImagePtr ReadWholeGif(int size, void* data) {
  const std::string_view bytes(static_cast<const char*>(data), static_cast<size_t>(size));
  const size_t last = bytes.find_last_not_of('\0');
  return last != bytes.npos && bytes[last] == ';' ? gdImageCreateFromGifPtr(size, data) : nullptr;
}

gdImagePtr ReadWholeBmp(int size, void* data) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  uint32_t told = 0;  // the file's length, or 0
  for (int i = 0; size >= 6 && i < 4; ++i) told |= uint32_t{bytes[2 + i]} << (8 * i);
  return told <= static_cast<uint32_t>(size) ? gdImageCreateFromBmpPtr(size, data) : nullptr;
}

// By what the bytes begin with: the library has one reader a format, and none that tells them
// apart.
Image Load(std::string_view bytes) {
  struct Format {
    std::string_view start;
    gdImagePtr (*read)(int size, void* data);
  };
  constexpr Format kFormats[] = {
      {"\x89PNG", gdImageCreateFromPngPtr},
      {"GIF8", ReadWholeGif},
      {"BM", ReadWholeBmp},
      {"\xFF\xD8", ReadWholeJpeg},
      {"RIFF", gdImageCreateFromWebpPtr},
  };
  for (const Format& format : kFormats) {
    if (!bytes.starts_with(format.start)) continue;
    return Image(format.read(static_cast<int>(bytes.size()), const_cast<char*>(bytes.data())));
  }
  return nullptr;
}

class GdImaging final : public Imaging {
 public:
  GdImaging() { gdSetErrorMethod(Ignore); }

  PictureError ToJpeg(std::string_view bytes, PictureSize box, std::string& jpeg) override {
    jpeg.clear();
    const PictureSize told = SizeOfPicture(bytes);
    if (told.width == 0 || uint64_t{told.width} * told.height > kMostPixels) {
      return PictureError::NotLoaded;
    }
    if (bytes.size() > INT_MAX) return PictureError::NotLoaded;
    const Image source = Load(bytes);
    if (!source) return PictureError::NotLoaded;
    const PictureSize own{static_cast<uint32_t>(gdImageSX(source)),
                          static_cast<uint32_t>(gdImageSY(source))};
    const PictureSize size = FitInto(own, box);
    const auto width = static_cast<int>(size.width);
    const auto height = static_cast<int>(size.height);
    const Image target(gdImageCreateTrueColor(width, height));
    if (!target) return PictureError::NoBitmap;
    gdImageFilledRectangle(target.get(), 0, 0, width - 1, height - 1, gdTrueColor(255, 255, 255));
    gdImageCopyResampled(target.get(), source.get(), 0, 0, 0, 0, width, height, gdImageSX(source),
                         gdImageSY(source));
    int length = 0;
    void* written = gdImageJpegPtr(target.get(), &length, kQuality);
    if (written == nullptr) return PictureError::NotSaved;
    const std::unique_ptr<void, decltype(&gdFree)> owner(written, gdFree);
    jpeg.assign(static_cast<const char*>(written), static_cast<size_t>(length));
    return PictureError::None;
  }
};

}  // namespace

Imaging& Imaging::Default() {
  static GdImaging imaging;
  return imaging;
}

}  // namespace qv
