#include "platform/system/file_stream.h"

#include "platform/com/com_object.h"
#include "platform/com/edge.h"
#include "platform/system/native_entry.h"
#include "platform/system/service.h"

namespace qv {
namespace {

class NewFileStream final : public ComObject<IFileStream> {
 public:
  explicit NewFileStream(std::string path) : path_(std::move(path)) {}

  HRESULT Read(void*, uint32_t, uint32_t*) noexcept override { return E_NOTIMPL; }

  HRESULT Write(const void* bytes, uint32_t size, uint32_t* written) noexcept override {
    return Slot(Requires(bytes), Outs(written), [&] {
      bytes_.append(static_cast<const char*>(bytes), size);
      return HandOut(written, size);
    });
  }

  HRESULT Commit() noexcept override {
    return Guarded([&] {
      Files& files = Service<Files>::Get();
      StagedFile staged;
      if (const std::error_code error = files.Stage(path_, bytes_, staged)) {
        return StatusOfError(NumberOf(error, path_));
      }
      const std::error_code error = files.RenameNew(staged.temporary, path_);
      if (!error) return S_OK;
      files.Remove(staged.temporary);
      return StatusOfError(error == std::errc::file_exists ? kFileExists : NumberOf(error, path_));
    });
  }

  const std::string& path() const noexcept override { return path_; }

 private:
  std::string path_;
  std::string bytes_;
};

}  // namespace

SystemError CreateFileStream(std::u16string_view path, ComPtr<IFileStream>& stream) {
  const std::optional<std::string> native = NativeEntry(path);
  if (!native || native->empty() || path.back() == u'\\') return kInvalidName;
  EntryStat stat;
  const std::error_code error = Service<Files>::Get().StatEntry(*native, stat);
  if (!error) return kFileExists;
  const SystemError number = NumberOf(error, *native);
  if (number != kFileNotFound) return number;
  stream = MakeObject<NewFileStream>(*native);
  return kNoError;
}

}  // namespace qv
