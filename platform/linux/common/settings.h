#ifndef PLATFORM_LINUX_COMMON_SETTINGS_H_
#define PLATFORM_LINUX_COMMON_SETTINGS_H_

#include <string>
#include <vector>

namespace saltmoor::platform {

struct ConnectTo {
  std::string entry;    ///< HOST:PORT:TO-HOST:TO-PORT, as libcurl takes it
  std::string to_host;  ///< without brackets around an IPv6 address
};

/// The settings of the Linux platform: the TABULET_* variables of the environment, which
/// docs/settings.md describes.
struct Settings {
  std::vector<ConnectTo> connect_to;  ///< TABULET_CONNECT_TO
  std::string ca_file;                ///< TABULET_CA_FILE; if empty, the system's authorities
  std::string log = "-";              ///< TABULET_LOG: a path, or "-" for standard error
  int log_level = 2;                  ///< TABULET_LOG_LEVEL
  std::string serial;                 ///< TABULET_SERIAL; if empty, derived from the machine

  /// One line for each invalid value: the value, what is used instead, and how to correct it. Only
  /// the logger reports them, before its first record.
  std::vector<std::string> problems;
};

/// Returns the settings, read from the environment at the first call. Thread-safe.
const Settings& GetSettings();

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_SETTINGS_H_
