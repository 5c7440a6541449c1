#ifndef PLATFORM_LINUX_UTILITIES_HEX_H_
#define PLATFORM_LINUX_UTILITIES_HEX_H_

#include <cstddef>
#include <string>

namespace saltmoor::platform {

/// Two lower-case digits for each byte.
inline std::string ToHex(const unsigned char* bytes, std::size_t size_bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * size_bytes);
  for (std::size_t i = 0; i < size_bytes; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 0xf];
  }
  return text;
}

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_UTILITIES_HEX_H_
