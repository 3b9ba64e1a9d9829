// The ANSI page for a while.
#pragma once

#include <string>

#include "platform/system/code_page.h"

namespace qv::test {

class ScopedAnsiPage {
 public:
  explicit ScopedAnsiPage(std::string_view name)
      : previous_(CodePages::Default().AnsiPage()),
        isSet_(CodePages::Default().SetAnsiPage(name)) {}
  ScopedAnsiPage(const ScopedAnsiPage&) = delete;
  ScopedAnsiPage& operator=(const ScopedAnsiPage&) = delete;
  ~ScopedAnsiPage() { CodePages::Default().SetAnsiPage(previous_); }
  bool isSet() const { return isSet_; }

 private:
  std::string previous_;
  bool isSet_;
};

}  // namespace qv::test
