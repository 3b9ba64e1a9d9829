#include "platform/system/native_entry.h"

#include <cerrno>

#include "platform/system/service.h"

namespace qv {
namespace {

struct ErrorNumber {
  int error;
  SystemError number;
};

constexpr ErrorNumber kNumbers[] = {
    {ENOTDIR, kPathNotFound},     {EACCES, kAccessDenied},      {EPERM, kAccessDenied},
    {EISDIR, kAccessDenied},      {EROFS, kAccessDenied},       {EEXIST, kAlreadyExists},
    {EINVAL, kInvalidParameter},  {ENOSPC, kDiskFull},          {EDQUOT, kDiskFull},
    {ENOTEMPTY, kFolderNotEmpty}, {ENAMETOOLONG, kNameTooLong},
};

// The folder above; links on the way are those of the path and are followed.
bool HasFolder(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return true;
  FileInfo info;
  return !Service<Files>::Get().Stat(path.substr(0, slash + 1), info) && info.isFolder;
}

}  // namespace

std::optional<std::string> NativeEntry(std::u16string_view path) {
  std::optional<std::string> native = ToNativePath(path);
  if (!native) return std::nullopt;
  while (native->size() > 1 && native->back() == '/') native->pop_back();
  const std::string_view last = std::string_view(*native).substr(native->rfind('/') + 1);
  if (last == "." || last == "..") return std::nullopt;
  return native;
}

SystemError NumberOf(std::error_code error, const std::string& path) {
  if (!error) return kNoError;
  if (error == std::errc::no_such_file_or_directory) {
    return HasFolder(path) ? kFileNotFound : kPathNotFound;
  }
  for (const ErrorNumber& known : kNumbers) {
    if (known.error == error.value()) return known.number;
  }
  return kGeneralFailure;
}

}  // namespace qv
