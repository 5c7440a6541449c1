#ifndef PLATFORM_LINUX_UTILITIES_FOREGROUND_TERMINAL_H_
#define PLATFORM_LINUX_UTILITIES_FOREGROUND_TERMINAL_H_

#include <sys/types.h>
#include <termios.h>

namespace saltmoor::platform {

/// The terminal on standard input, while another process group is in its foreground. A program in a
/// process group of its own can read the terminal only from the foreground.
class ForegroundTerminal {
 public:
  /// Saves the terminal's modes, if standard input is a terminal and this process is in its
  /// foreground group.
  ForegroundTerminal();

  /// Whether the foreground can be given to another process group.
  bool transferable() const { return transferable_; }
  /// Whether the group of this process is outside its PID namespace. The group has no number here
  /// and could not reclaim the foreground, so a program that reads the terminal must stay in it.
  bool group_is_external() const { return group_is_external_; }
  /// Reclaims the foreground from a process group, running or not, and restores the modes. Does
  /// nothing if the group is not in the foreground.
  void Reclaim(pid_t group) const;

 private:
  termios modes_{};
  bool group_is_external_;
  bool transferable_;  // its initializer sets modes_
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_UTILITIES_FOREGROUND_TERMINAL_H_
