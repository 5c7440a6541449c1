#ifndef QUIRE_SWITCHBOARD_CONFIG_FIELDS_H_
#define QUIRE_SWITCHBOARD_CONFIG_FIELDS_H_

#include "switchboard_config.h"

namespace saltmoor::quire {

/// Whether the response had no field, like the sign-in page of a network.
inline bool IsEmpty(const SwitchboardConfig& config) {
  for (int field = 0; field < SwitchboardConfig::kStoreApiUrl; ++field) {
    if (!config[static_cast<SwitchboardConfig::Fields>(field)].empty()) return false;
  }
  return true;
}

}  // namespace saltmoor::quire

#endif  // QUIRE_SWITCHBOARD_CONFIG_FIELDS_H_
