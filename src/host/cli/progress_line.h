// One line on a terminal's standard error, "contacts 1234/10000 (5600/s)", drawn over and over and
// gone at the end.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace qv {

class ProgressLine {
 public:
  // Draws nothing when not `wanted`, or when standard error is no terminal.
  explicit ProgressLine(bool wanted);
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
  ~ProgressLine() { Erase(); }

  // Cheap enough to be called for each item.
  void Update(std::string_view store, int64_t done, int64_t total);
  void Erase();

 private:
  using Clock = std::chrono::steady_clock;

  bool active_;
  bool drawn_ = false;
  std::string store_;
  Clock::time_point started_;
  Clock::time_point lastDrawn_;
};

}  // namespace qv
