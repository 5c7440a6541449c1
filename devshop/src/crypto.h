#ifndef DEVSHOP_CRYPTO_H_
#define DEVSHOP_CRYPTO_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace devshop {

/// Lower-case hexadecimal text of that many random bytes.
std::string RandomHex(std::size_t size_bytes);

/// Lower-case hexadecimal digests.
std::string Sha256Hex(std::string_view data);
std::string HmacSha256Hex(std::string_view key, std::string_view data);

/// Compares secrets in a time that tells nothing about where they differ.
bool SecretsEqual(std::string_view one, std::string_view other);

}  // namespace devshop

#endif  // DEVSHOP_CRYPTO_H_
