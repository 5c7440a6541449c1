#ifndef PLATFORM_LINUX_TABULET_KEY_VALUES_H_
#define PLATFORM_LINUX_TABULET_KEY_VALUES_H_

#include <map>
#include <string>
#include <string_view>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// Texts under their keys. A text stays where it is in memory while others come and go.
using KeyValues = std::map<std::string, std::string>;

/// One line `key=value` for each, every line ended. %XX stands for a byte that a line, a key or an
/// editor could not carry: control characters, '%', blanks at either end, '=' in a key.
std::string SerializeKeyValues(const KeyValues& values);

/// Reads such a text. Of a key that stands there twice, the last counts.
/// \return what is wrong with which line; `*values` is unchanged then.
Error ParseKeyValues(std::string_view text, KeyValues* values);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_TABULET_KEY_VALUES_H_
