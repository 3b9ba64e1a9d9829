#include "support/narrow_files.h"

#include <algorithm>

#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr size_t kBlock = 4095;

bool IsTaken(SystemError error) {
  return error == kFileExists || error == kAlreadyExists;
}

}  // namespace

std::optional<std::string> ReadNarrowFile(std::u16string_view path) {
  const std::optional<std::string> native = ToNativePath(path);
  if (!native) return std::nullopt;
  std::string bytes;
  const std::error_code error = Service<Files>::Get().Read(*native, bytes);
  if (error && bytes.empty()) return std::nullopt;
  if (bytes.find('\0') == bytes.npos) return bytes;
  std::string text;
  text.reserve(bytes.size());
  for (size_t at = 0; at < bytes.size(); at += kBlock) {
    const std::string_view block = std::string_view(bytes).substr(at, kBlock);
    text += block.substr(0, block.find('\0'));
  }
  return text;
}

SystemError UniqueNames::Create(std::u16string_view stem, std::u16string_view extension,
                                std::string_view bytes) {
  int64_t& next = next_.try_emplace(std::u16string(stem), firstNumber_ - 1).first->second;
  while (true) {
    std::u16string path(stem);
    if (next >= firstNumber_) path.append(u"(").append(Decimal(next)).append(u")");
    const SystemError error = CreateNewFile(path.append(extension), bytes);
    if (IsTaken(error) || error == kNoError) ++next;
    if (!IsTaken(error)) return error;
  }
}

}  // namespace qv
