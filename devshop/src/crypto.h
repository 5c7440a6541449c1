#ifndef DEVSHOP_CRYPTO_H_
#define DEVSHOP_CRYPTO_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace devshop {

/// Random bytes as lower-case hexadecimal digits. Throws std::runtime_error.
std::string RandomHex(std::size_t size_bytes);

/// Lower-case hexadecimal digests.
std::string Sha256Hex(std::string_view data);
std::string HmacSha256Hex(std::string_view key, std::string_view data);

/// Compares in constant time for strings of the same length.
bool SecretsEqual(std::string_view one, std::string_view other);

}  // namespace devshop

#endif  // DEVSHOP_CRYPTO_H_
