#ifndef PLATFORM_LINUX_COMMON_UNIQUE_FD_H_
#define PLATFORM_LINUX_COMMON_UNIQUE_FD_H_

#include <unistd.h>

#include <utility>

namespace saltmoor::platform {

/// Owns a file descriptor, or none (-1).
class UniqueFd {
 public:
  explicit UniqueFd(int fd = -1) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.Release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~UniqueFd() {
    if (fd_ >= 0) close(fd_);
  }

  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }
  /// Transfers the ownership to the caller, such as to check the result of close.
  int Release() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_UNIQUE_FD_H_
