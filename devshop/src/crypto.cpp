#include "crypto.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <array>
#include <stdexcept>
#include <vector>

namespace devshop {
namespace {

std::string hex(const unsigned char* bytes, std::size_t size) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) text += {kHex[bytes[i] >> 4], kHex[bytes[i] & 15]};
  return text;
}

const unsigned char* BytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

std::string RandomHex(std::size_t size_bytes) {
  std::vector<unsigned char> bytes(size_bytes);
  if (RAND_bytes(bytes.data(), static_cast<int>(size_bytes)) != 1) {
    throw std::runtime_error("The system has no randomness to give.");
  }
  return hex(bytes.data(), bytes.size());
}

std::string Sha256Hex(std::string_view data) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  EVP_Digest(data.data(), data.size(), digest.data(), &size, EVP_sha256(), nullptr);
  return hex(digest.data(), size);
}

std::string HmacSha256Hex(std::string_view key, std::string_view data) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), BytesOf(data), data.size(),
       digest.data(), &size);
  return hex(digest.data(), size);
}

bool SecretsEqual(std::string_view one, std::string_view other) {
  return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

}  // namespace devshop
