#include "crypto.h"

#include <openssl/crypto.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <array>
#include <boost/algorithm/hex.hpp>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace devshop {
namespace {

using Digest = std::array<unsigned char, SHA256_DIGEST_LENGTH>;

const unsigned char* Bytes(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

template <typename Range>
std::string Hex(const Range& bytes) {
  std::string text;
  boost::algorithm::hex_lower(bytes, std::back_inserter(text));
  return text;
}

}  // namespace

std::string RandomHex(std::size_t size_bytes) {
  std::vector<unsigned char> bytes(size_bytes);
  if (RAND_bytes(bytes.data(), static_cast<int>(size_bytes)) != 1) {
    throw std::runtime_error("The system provides no random numbers.");
  }
  return Hex(bytes);
}

std::string Sha256Hex(std::string_view data) {
  Digest digest{};
  SHA256(Bytes(data), data.size(), digest.data());
  return Hex(digest);
}

std::string HmacSha256Hex(std::string_view key, std::string_view data) {
  Digest digest{};
  HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), Bytes(data), data.size(),
       digest.data(), nullptr);
  return Hex(digest);
}

bool SecretsEqual(std::string_view one, std::string_view other) {
  return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

}  // namespace devshop
