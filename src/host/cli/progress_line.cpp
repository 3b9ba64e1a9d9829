#include "host/cli/progress_line.h"

#include <unistd.h>

#include <cstdio>

namespace qv {
namespace {

constexpr std::chrono::milliseconds kBetweenDrawings{100};

}  // namespace

ProgressLine::ProgressLine(bool wanted) : active_(wanted && isatty(STDERR_FILENO) != 0) {}

void ProgressLine::Update(std::string_view store, int64_t done, int64_t total) {
  if (!active_) return;
  const Clock::time_point now = Clock::now();
  if (store != store_) {
    store_ = store;
    started_ = now;
  } else if (now - lastDrawn_ < kBetweenDrawings) {
    return;
  }
  lastDrawn_ = now;
  const double seconds = std::chrono::duration<double>(now - started_).count();
  const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0.0;
  std::fprintf(stderr, "\r%s %lld/%lld (%.0f/s)\033[K", store_.c_str(),
               static_cast<long long>(done), static_cast<long long>(total), rate);
  std::fflush(stderr);
  drawn_ = true;
}

void ProgressLine::Erase() {
  if (drawn_) std::fputs("\r\033[K", stderr);
  drawn_ = false;
}

}  // namespace qv
