// Bytes that go through an interface.
#pragma once

#include <string>
#include <string_view>

#include "platform/com/com_ptr.h"
#include "platform/com/component_ids.h"
#include "platform/com/unknown.h"

namespace qv {

struct IStream : IUnknown {
  static constexpr IID kIid = IID_IStream;
  // At most `size` bytes; fewer at the end, where it is S_FALSE.
  virtual HRESULT Read(void* bytes, uint32_t size, uint32_t* read) noexcept = 0;
  virtual HRESULT Write(const void* bytes, uint32_t size, uint32_t* written) noexcept = 0;

 protected:
  ~IStream() = default;
};

// Of a stream onto a new file, which takes its name when it is committed and is gone with its last
// reference when it was not.
struct IFileStream : IStream {
  using Parent = IStream;
  static constexpr IID kIid = IID_IFileStream;
  // HRESULT_FROM_WIN32 of the system's error number; of kFileExists where the name is taken by now.
  virtual HRESULT Commit() noexcept = 0;
  virtual const std::string& path() const noexcept = 0;  // native

 protected:
  ~IFileStream() = default;
};

// In memory, to be read from the start of `bytes`, and written behind its end.
ComPtr<IStream> MakeMemoryStream(std::string bytes);
// What is left to read. Throws StatusError.
std::string ReadStream(IStream& stream);
void WriteStream(IStream& stream, std::string_view bytes);

}  // namespace qv
