/// \file
/// The --version option of the device programs.

#ifndef DEVICE_SRC_VERSION_H_
#define DEVICE_SRC_VERSION_H_

#include <iostream>
#include <string_view>

/// Prints "NAME VERSION" if --version is the only argument.
/// \return whether it is.
inline bool PrintVersion(int argc, char** argv, std::string_view name) {
  if (argc != 2 || std::string_view(argv[1]) != "--version") return false;
  std::cout << name << " " QUIRE_VERSION << std::endl;
  return true;
}

#endif  // DEVICE_SRC_VERSION_H_
