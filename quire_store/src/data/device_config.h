#ifndef QUIRE_DEVICE_CONFIG_H_
#define QUIRE_DEVICE_CONFIG_H_

#include <memory>

#include "device_paths.h"
#include "tabulet.h"

namespace saltmoor::quire {

/// The keys of the library's configuration file.
namespace config_keys {
inline constexpr char kUserName[] = "user_name";
inline constexpr char kPassword[] = "password";
inline constexpr char kSessionId[] = "session_id";
inline constexpr char kSwitchboardUpdateTime[] = "switchboard_update_time";
}  // namespace config_keys

/// The open configuration file, closed by the function that was chosen when it was opened.
using DeviceConfig = std::unique_ptr<iconfig_s, decltype(&CloseConfig)>;

/// \param close  CloseConfig or CloseConfigNoSave.
/// \return null when the file cannot be opened; reads from null return the defaults.
inline DeviceConfig OpenDeviceConfig(decltype(&CloseConfig) close) {
  return {OpenConfig(paths::kConfig, nullptr), close};
}

}  // namespace saltmoor::quire

#endif  // QUIRE_DEVICE_CONFIG_H_
