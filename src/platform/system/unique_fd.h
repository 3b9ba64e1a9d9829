// Owns a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace qv {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~UniqueFd() {
    if (fd_ >= 0) close(fd_);
  }

  bool IsOpen() const { return fd_ >= 0; }
  int get() const { return fd_; }
  int Detach() { return std::exchange(fd_, -1); }

 private:
  int fd_ = -1;
};

}  // namespace qv
