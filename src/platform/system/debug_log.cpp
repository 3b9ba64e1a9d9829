#include "platform/system/debug_log.h"

#include <cstdio>

#include "platform/system/service.h"
#include "platform/system/utf8.h"

namespace qv {
namespace {

class StandardErrorLog final : public DebugLog {
 public:
  void Write(std::u16string_view line) override {
    std::string bytes = ToUtf8(line);
    bytes.push_back('\n');
    // One write a line, so that lines of two processes do not mix.
    std::fwrite(bytes.data(), 1, bytes.size(), stderr);
  }
};

}  // namespace

DebugLog& DebugLog::Default() {
  static StandardErrorLog log;
  return log;
}

void OutputDebugStringW(std::u16string_view line) noexcept {
  try {
    Service<DebugLog>::Get().Write(line);
  } catch (...) {
  }
}

}  // namespace qv
