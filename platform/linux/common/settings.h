/// \file
/// The settings of the Linux platform: the TABULET_* variables of the environment.

#ifndef PLATFORM_LINUX_COMMON_SETTINGS_H_
#define PLATFORM_LINUX_COMMON_SETTINGS_H_

#include <string>
#include <vector>

namespace saltmoor::platform {

struct ConnectTo {
  std::string entry;    ///< HOST:PORT:TO-HOST:TO-PORT, as libcurl takes it
  std::string to_host;  ///< without the brackets of an IPv6 address
};

struct Settings {
  std::vector<ConnectTo> connect_to;  ///< TABULET_CONNECT_TO
  std::string ca_file;                ///< TABULET_CA_FILE; empty: the system's authorities
  std::string log = "-";              ///< TABULET_LOG: a path, or "-" for standard error
  int log_level = 2;                  ///< TABULET_LOG_LEVEL
  std::string serial;                 ///< TABULET_SERIAL; empty: derived from the machine

  /// One line for each bad value: what it is, what counts in its place, how to mend it. The logger
  /// reports them ahead of its first record; nobody else needs to.
  std::vector<std::string> problems;
};

/// Reads the environment at the first call; the same object ever after. Any thread.
const Settings& GetSettings();

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_SETTINGS_H_
