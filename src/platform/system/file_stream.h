// A stream onto a new file.
#pragma once

#include <string_view>

#include "platform/com/stream.h"
#include "platform/system/file_system.h"

namespace qv {

// What a system's error number is as a status, and back; kGeneralFailure for a status that is none.
constexpr HRESULT StatusOfError(SystemError error) {
  return error == kNoError ? S_OK : StatusFromBits(0x80070000u | (error & 0xFFFFu));
}
constexpr SystemError ErrorOfStatus(HRESULT status) {
  if (Succeeded(status)) return kNoError;
  const auto bits = static_cast<uint32_t>(status);
  return (bits & 0xFFFF0000u) == 0x80070000u ? bits & 0xFFFFu : kGeneralFailure;
}

// A path of the module's form. kFileExists where something stands there already, kInvalidName for a
// name that no path can hold. The file takes its name whole, at `Commit`, and never another's
// place.
SystemError CreateFileStream(std::u16string_view path, ComPtr<IFileStream>& stream);

}  // namespace qv
