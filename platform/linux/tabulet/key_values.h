#ifndef PLATFORM_LINUX_TABULET_KEY_VALUES_H_
#define PLATFORM_LINUX_TABULET_KEY_VALUES_H_

#include <map>
#include <string>
#include <string_view>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// Strings by key. Pointers to a value are valid until that value changes.
using KeyValues = std::map<std::string, std::string>;

/// Returns one line `key=value` for each entry. Control characters, '%', outer spaces, and '=' in a
/// key, are written as %XX.
std::string SerializeKeyValues(const KeyValues& values);

/// Parses the result of SerializeKeyValues. If a key occurs more than once, the last entry counts.
/// \return an error with the line's number, and `*values` unchanged, if a line is invalid.
Error ParseKeyValues(std::string_view text, KeyValues* values);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_TABULET_KEY_VALUES_H_
