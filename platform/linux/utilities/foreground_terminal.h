#ifndef PLATFORM_LINUX_UTILITIES_FOREGROUND_TERMINAL_H_
#define PLATFORM_LINUX_UTILITIES_FOREGROUND_TERMINAL_H_

#include <sys/types.h>
#include <termios.h>

namespace saltmoor::platform {

/// Gets the terminal on standard input back from a program that was given it, with the modes that
/// it had. A program in a process group of its own cannot read the terminal otherwise.
class ForegroundTerminal {
 public:
  /// Remembers the terminal's modes. Nothing is lent where standard input is no terminal, or is not
  /// this process's to give since it runs in the background.
  ForegroundTerminal();

  bool possible() const { return possible_; }
  /// Whether this process's group, which has the terminal, lies outside its process namespace. The
  /// group has no number here, so the terminal cannot be lent: who needs it stays in the group.
  bool shared() const { return shared_; }
  /// Takes the terminal back from the process group, dead or alive, where it still has it.
  void Reclaim(pid_t group) const;

 private:
  termios modes_{};
  bool shared_;
  bool possible_;  // learnt together with the modes, hence after them
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_UTILITIES_FOREGROUND_TERMINAL_H_
