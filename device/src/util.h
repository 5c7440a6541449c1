/// \file
/// Functions that the device programs share.

#ifndef DEVICE_SRC_UTIL_H_
#define DEVICE_SRC_UTIL_H_

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <boost/algorithm/string/predicate.hpp>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

/// Whether the scheme is http or https.
inline bool IsWebUrl(const std::string& url) {
  return boost::istarts_with(url, "http://") || boost::istarts_with(url, "https://");
}

/// The value of an environment variable; empty if it is not set.
inline std::string GetEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

/// Replaces the process by a program with its arguments.
/// \return why that failed, as errno has it.
inline int Exec(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  return errno;
}

/// Whether another process traces this one, as proot does.
inline bool IsTraced() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("TracerPid:")) return !line.ends_with("\t0");
  }
  return false;
}

/// Keeps what the user types out of core dumps, from debuggers of the same user, and from those who
/// record the connections: TLS keys are written to no file. Must be called before libcurl starts.
inline void ProtectSecrets() {
  unsetenv("SSLKEYLOGFILE");
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
#ifndef __SANITIZE_ADDRESS__  // a leak sanitizer attaches at the exit, as a debugger does
  if (!IsTraced()) prctl(PR_SET_DUMPABLE, 0);  // proot must read the paths of system calls
#endif
}

/// Prints the program's name and version if --version is the only argument.
/// \return whether it is.
inline bool PrintVersion(int argc, char** argv, std::string_view name_and_version) {
  if (argc != 2 || std::string_view(argv[1]) != "--version") return false;
  std::cout << name_and_version << std::endl;
  return true;
}

#endif  // DEVICE_SRC_UTIL_H_
