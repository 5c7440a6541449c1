#ifndef PLATFORM_LINUX_TABULET_SECRETS_H_
#define PLATFORM_LINUX_TABULET_SECRETS_H_

#include <string>
#include <string_view>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// Encrypts a secret under the key of this device, bound to `name`. Creates the key if necessary.
Error EncryptSecret(const std::string& name, std::string_view secret, std::string* sealed);

/// Decrypts the result of EncryptSecret with the same `name`.
Error DecryptSecret(const std::string& name, const std::string& sealed, std::string* secret);

/// Overwrites a string in memory and clears it.
void Wipe(std::string* secret);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_TABULET_SECRETS_H_
