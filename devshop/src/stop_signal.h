#ifndef DEVSHOP_STOP_SIGNAL_H_
#define DEVSHOP_STOP_SIGNAL_H_

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <system_error>

namespace devshop {

/// Raised once when the shop closes. Everything that waits polls its descriptor too, so that no
/// wait outlives the shop. Any thread.
class StopSignal {
 public:
  StopSignal() : fd_(eventfd(0, EFD_CLOEXEC)) {
    if (fd_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  }
  ~StopSignal() { close(fd_); }
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  void raise() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(fd_, &one, sizeof one);
  }

  /// Readable from the moment it is raised on.
  int fd() const { return fd_; }

 private:
  int fd_;
};

}  // namespace devshop

#endif  // DEVSHOP_STOP_SIGNAL_H_
