#include "platform/linux/tabulet/secrets.h"

#include <sodium.h>
#include <sys/stat.h>

#include "platform/linux/common/atomic_file.h"
#include "platform/linux/common/log.h"

namespace saltmoor::platform {
namespace {

// A sealed value is this prefix, followed by nonce and ciphertext in base64.
constexpr std::string_view kPrefix = "sealed1:";
constexpr std::size_t kNonce_bytes = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t kTag_bytes = crypto_aead_xchacha20poly1305_ietf_ABYTES;
constexpr char kKeyPath[] = "/mnt/ext1/system/.device_key";
constexpr std::size_t kKey_bytes = crypto_aead_xchacha20poly1305_ietf_KEYBYTES;
constexpr int kBase64 = sodium_base64_VARIANT_ORIGINAL;

/// The key that encrypts the secrets of this device.
struct DeviceKey {
  DeviceKey() { bytes.reserve(kKey_bytes); }
  DeviceKey(const DeviceKey&) = delete;
  DeviceKey& operator=(const DeviceKey&) = delete;
  ~DeviceKey() { Wipe(&bytes); }

  Error Load();
  /// A damaged key file is moved aside: what it encrypted cannot be recovered.
  Error LoadOrCreate();

  std::string bytes;
};

/// Makes the key unreadable for other users, and says so.
void ProtectKey() {
  struct stat status;
  if (stat(kKeyPath, &status) != 0 || (status.st_mode & 0077) == 0) return;
  const bool done = chmod(kKeyPath, 0600) == 0;
  Log(LogLevel::kError, std::string("other users could read ") + kKeyPath +
                            (done ? "; now only its owner can" : " and still can") +
                            ": change the passwords that it encrypts");
}

Error DeviceKey::Load() {
  ProtectKey();
  if (Error error = ReadFile(kKeyPath, kKey_bytes, &bytes)) return error;
  if (bytes.size() == kKey_bytes) return {};
  return Error::InvalidData(std::string(kKeyPath) + " is damaged: it has " +
                            std::to_string(bytes.size()) + " bytes instead of " +
                            std::to_string(kKey_bytes) + "; secrets that it encrypted are lost");
}

Error DeviceKey::LoadOrCreate() {
  const auto generate = [this]() -> std::string_view {
    bytes.resize(kKey_bytes);
    randombytes_buf(bytes.data(), kKey_bytes);
    return bytes;
  };
  return LoadOrCreateFile(
      kKeyPath, [this] { return Load(); }, generate);
}

unsigned char* Bytes(std::string* text) {
  return reinterpret_cast<unsigned char*>(text->data());
}
const unsigned char* Bytes(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

std::string ToBase64(const std::string& bytes) {
  std::string text(sodium_base64_encoded_len(bytes.size(), kBase64), '\0');
  sodium_bin2base64(text.data(), text.size(), Bytes(bytes), bytes.size(), kBase64);
  text.pop_back();  // the terminating zero byte
  return text;
}

bool FromBase64(std::string_view text, std::string* bytes) {
  bytes->resize(text.size());
  std::size_t size = 0;
  const bool good = sodium_base642bin(Bytes(bytes), bytes->size(), text.data(), text.size(),
                                      nullptr, &size, nullptr, kBase64) == 0;
  bytes->resize(good ? size : 0);
  return good;
}

Error InitSodium() {
  return sodium_init() < 0
             ? Error::InvalidData("cannot initialize libsodium: no source of randomness")
             : Error();
}

}  // namespace

Error EncryptSecret(const std::string& name, std::string_view secret, std::string* sealed) {
  if (Error error = InitSodium()) return error;
  DeviceKey key;
  if (Error error = key.LoadOrCreate()) return error;

  std::string box(kNonce_bytes + secret.size() + kTag_bytes, '\0');
  randombytes_buf(box.data(), kNonce_bytes);
  crypto_aead_xchacha20poly1305_ietf_encrypt(Bytes(&box) + kNonce_bytes, nullptr, Bytes(secret),
                                             secret.size(), Bytes(name), name.size(), nullptr,
                                             Bytes(box), Bytes(key.bytes));
  *sealed = std::string(kPrefix) + ToBase64(box);
  return {};
}

Error DecryptSecret(const std::string& name, const std::string& sealed, std::string* secret) {
  if (Error error = InitSodium()) return error;
  std::string box;
  if (sealed.compare(0, kPrefix.size(), kPrefix) != 0 ||
      !FromBase64(std::string_view(sealed).substr(kPrefix.size()), &box) ||
      box.size() < kNonce_bytes + kTag_bytes) {
    return Error::InvalidData("the value is not encrypted");
  }
  DeviceKey key;
  if (Error error = key.Load()) return error;

  secret->resize(box.size() - kNonce_bytes - kTag_bytes);
  if (crypto_aead_xchacha20poly1305_ietf_decrypt(
          Bytes(secret), nullptr, nullptr, Bytes(box) + kNonce_bytes, box.size() - kNonce_bytes,
          Bytes(name), name.size(), Bytes(box), Bytes(key.bytes)) != 0) {
    secret->clear();
    return Error::InvalidData(
        "the value is damaged, or was encrypted on another device or for another key");
  }
  return {};
}

void Wipe(std::string* secret) {
  sodium_memzero(secret->data(), secret->size());
  secret->clear();
}

}  // namespace saltmoor::platform
