#ifndef PLATFORM_LINUX_TABULET_DEVICE_KEY_H_
#define PLATFORM_LINUX_TABULET_DEVICE_KEY_H_

#include <string>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// Bytes that are wiped when nobody needs them any more.
class SecretBytes {
 public:
  SecretBytes() = default;
  SecretBytes(const SecretBytes&) = delete;
  SecretBytes& operator=(const SecretBytes&) = delete;
  ~SecretBytes();

  std::string bytes;
};

/// Reads the key that the secrets of this device are sealed under.
Error LoadDeviceKey(SecretBytes* key);

/// As LoadDeviceKey, but makes a key where there is none. A damaged key file is moved aside, since
/// what it sealed is out of reach anyway. All programs on the device come by the same key.
Error LoadOrCreateDeviceKey(SecretBytes* key);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_TABULET_DEVICE_KEY_H_
