#include "saltmoor/utilities/tev_utilities.h"

#include <openssl/evp.h>

#include <exception>
#include <string>

#include "platform/linux/common/log.h"
#include "platform/linux/utilities/hex.h"

namespace saltmoor::utilities {
namespace {

thread_local std::string data_string;
thread_local std::string derived_key;

}  // namespace

void TevUtilities::SetSha0Data(const char* data) try {
  data_string = data ? data : "";
} catch (const std::exception&) {
  data_string.clear();
}

const char* TevUtilities::SHA0BadCrypt() try {
  derived_key.clear();
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  if (EVP_Digest(data_string.data(), data_string.size(), digest, &size, EVP_sha256(), nullptr) ==
      1) {
    derived_key = platform::ToHex(digest, size);
  } else {
    platform::Log(platform::LogLevel::kError, "no key can be derived: OpenSSL refuses SHA-256");
  }
  return derived_key.c_str();
} catch (const std::exception&) {
  return "";
}

}  // namespace saltmoor::utilities
