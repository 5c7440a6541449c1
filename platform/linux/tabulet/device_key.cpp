#include "platform/linux/tabulet/device_key.h"

#include <sodium.h>

#include <cerrno>

#include "platform/linux/common/atomic_file.h"
#include "platform/linux/common/move_aside.h"

namespace saltmoor::platform {
namespace {

constexpr std::size_t kSize_bytes = crypto_aead_xchacha20poly1305_ietf_KEYBYTES;

std::string KeyPath() {
  return "/mnt/ext1/system/.device_key";
}

}  // namespace

SecretBytes::~SecretBytes() {
  sodium_memzero(bytes.data(), bytes.size());
}

Error LoadDeviceKey(SecretBytes* key) {
  key->bytes.reserve(kSize_bytes);
  if (Error error = ReadFile(KeyPath(), kSize_bytes, &key->bytes)) return error;
  if (key->bytes.size() != kSize_bytes) {
    return Error::InvalidData(KeyPath() + " is damaged: it has " +
                              std::to_string(key->bytes.size()) + " bytes in place of " +
                              std::to_string(kSize_bytes) + "; secrets sealed under it are lost");
  }
  return {};
}

Error LoadOrCreateDeviceKey(SecretBytes* key) {
  Error error = LoadDeviceKey(key);
  if (error.kind() == Error::Kind::kInvalidData) {
    error = MoveAside(KeyPath(), [] {
      SecretBytes unused;
      return LoadDeviceKey(&unused);
    });
    if (!error) error = LoadDeviceKey(key);
  }
  if (!error.IsSystem(ENOENT)) return error;

  key->bytes.resize(kSize_bytes);
  randombytes_buf(key->bytes.data(), kSize_bytes);
  error = CreateFile(KeyPath(), key->bytes);
  return error.IsSystem(EEXIST) ? LoadDeviceKey(key) : error;
}

}  // namespace saltmoor::platform
