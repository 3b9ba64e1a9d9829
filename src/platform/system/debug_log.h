// The debug log: plain lines, no levels.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qv {

class DebugLog {
 public:
  virtual ~DebugLog() = default;
  // One line, without a line end.
  virtual void Write(std::u16string_view line) = 0;

  // Standard error, one line each, in UTF-8.
  static DebugLog& Default();
};

// Drops every line: for a program whose user did not ask for the log.
class SilentLog final : public DebugLog {
 public:
  void Write(std::u16string_view) override {}
};

// A line that the log does not take is lost: it is no reason for anything else to fail.
void OutputDebugStringW(std::u16string_view line) noexcept;

}  // namespace qv
