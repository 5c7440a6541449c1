#ifndef PLATFORM_LINUX_TABULET_DEVICE_KEY_H_
#define PLATFORM_LINUX_TABULET_DEVICE_KEY_H_

#include <string>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// Bytes that the destructor overwrites.
class SecretBytes {
 public:
  SecretBytes() = default;
  SecretBytes(const SecretBytes&) = delete;
  SecretBytes& operator=(const SecretBytes&) = delete;
  ~SecretBytes();

  std::string bytes;
};

/// Reads the key that encrypts the secrets of this device.
Error LoadDeviceKey(SecretBytes* key);

/// Like LoadDeviceKey, but creates a key if there is none. A damaged key file is moved aside: what
/// it encrypted cannot be recovered. Programs that call this concurrently get the same key.
Error LoadOrCreateDeviceKey(SecretBytes* key);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_TABULET_DEVICE_KEY_H_
