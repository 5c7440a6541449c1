/// \file
/// Starts programs.

#ifndef DEVICE_CHROMIUM_PROCESS_H_
#define DEVICE_CHROMIUM_PROCESS_H_

#include <sys/types.h>

#include <string>
#include <vector>

namespace chromium {

/// Starts a program that is killed when this one exits. It exits with 127 if it is not installed.
/// \param fds  the program's descriptors 0, 1, 2 and so on; other descriptors must be
///     close-on-exec.
/// \return the process, or -1.
pid_t StartProcess(const std::vector<std::string>& command, const std::vector<int>& fds);

}  // namespace chromium

#endif  // DEVICE_CHROMIUM_PROCESS_H_
