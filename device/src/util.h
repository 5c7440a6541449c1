/// \file
/// Functions that the device programs share.

#ifndef DEVICE_SRC_UTIL_H_
#define DEVICE_SRC_UTIL_H_

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

/// Converts ASCII letters to lower case.
inline std::string ToLower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return lower;
}

/// Whether the scheme is http or https.
inline bool IsWebUrl(std::string_view url) {
  const std::string start = ToLower(url.substr(0, 8));
  return start.starts_with("http://") || start == "https://";
}

/// The value of an environment variable; empty if it is not set.
inline std::string GetEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

/// Whether another process traces this one, as proot does.
inline bool IsTraced() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("TracerPid:")) return !line.ends_with("\t0");
  }
  return false;
}

/// Prints the program's name and version if --version is the only argument.
/// \return whether it is.
inline bool PrintVersion(int argc, char** argv, std::string_view name_and_version) {
  if (argc != 2 || std::string_view(argv[1]) != "--version") return false;
  std::cout << name_and_version << std::endl;
  return true;
}

#endif  // DEVICE_SRC_UTIL_H_
