// What a full disk looks like.
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace qv::test {

// No file of the process may grow beyond `bytes` while it lives: a write stops short there, the
// next one fails.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &previous_);
    const rlimit limit{bytes, previous_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &previous_);
    std::signal(SIGXFSZ, handler_);
  }

 private:
  rlimit previous_{};
  void (*handler_)(int);
};

}  // namespace qv::test
