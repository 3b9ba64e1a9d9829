#include "platform/com/stream.h"

#include <algorithm>
#include <cstring>

#include "platform/com/com_object.h"
#include "platform/com/edge.h"

namespace qv {
namespace {

class MemoryStream final : public ComObject<IStream> {
 public:
  explicit MemoryStream(std::string bytes) : bytes_(std::move(bytes)) {}

  HRESULT Read(void* bytes, uint32_t size, uint32_t* read) noexcept override {
    return Slot(Requires(bytes), Outs(read), [&] {
      *read = static_cast<uint32_t>(std::min<size_t>(size, bytes_.size() - at_));
      std::memcpy(bytes, bytes_.data() + at_, *read);
      at_ += *read;
      return *read == size ? S_OK : S_FALSE;
    });
  }

  HRESULT Write(const void* bytes, uint32_t size, uint32_t* written) noexcept override {
    return Slot(Requires(bytes), Outs(written), [&] {
      bytes_.append(static_cast<const char*>(bytes), size);
      return HandOut(written, size);
    });
  }

 private:
  std::string bytes_;
  size_t at_ = 0;
};

}  // namespace

ComPtr<IStream> MakeMemoryStream(std::string bytes) {
  return MakeObject<MemoryStream>(std::move(bytes));
}

std::string ReadStream(IStream& stream) {
  constexpr uint32_t kPiece = 65536;
  std::string bytes;
  for (uint32_t read = kPiece; read == kPiece;) {
    const size_t before = bytes.size();
    bytes.resize(before + kPiece);
    Check(stream.Read(bytes.data() + before, kPiece, &read));
    bytes.resize(before + read);
  }
  return bytes;
}

void WriteStream(IStream& stream, std::string_view bytes) {
  constexpr size_t kPiece = 1 << 30;
  while (!bytes.empty()) {
    const auto size = static_cast<uint32_t>(std::min(bytes.size(), kPiece));
    uint32_t written = 0;
    Check(stream.Write(bytes.data(), size, &written));
    if (written == 0) throw StatusError(E_FAIL);
    bytes.remove_prefix(written);
  }
}

}  // namespace qv
