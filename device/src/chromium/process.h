/// \file
/// Runs other programs.

#ifndef DEVICE_CHROMIUM_PROCESS_H_
#define DEVICE_CHROMIUM_PROCESS_H_

#include <string>
#include <vector>

namespace chromium {

/// Runs a program without standard output and waits for it.
/// \return its exit code, 127 if the program does not exist, 126 on other failures.
int Run(const std::vector<std::string>& command);

/// Replaces this process with a program. Returns on failure only.
void Exec(const std::vector<std::string>& command);

}  // namespace chromium

#endif  // DEVICE_CHROMIUM_PROCESS_H_
