#ifndef PLATFORM_LINUX_TABULET_SECRETS_H_
#define PLATFORM_LINUX_TABULET_SECRETS_H_

#include <string>
#include <string_view>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// Seals a secret for this device and for its place: under another name it does not unseal.
Error Seal(const std::string& name, std::string_view secret, std::string* sealed);

Error Unseal(const std::string& name, const std::string& sealed, std::string* secret);

/// Overwrites the text in memory and empties it.
void Wipe(std::string* secret);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_TABULET_SECRETS_H_
