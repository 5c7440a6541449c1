#include "saltmoor/utilities/tev_utilities.h"

#include <openssl/evp.h>

#include <string>

#include "platform/linux/common/log.h"
#include "platform/linux/utilities/hex.h"

namespace saltmoor::utilities {
namespace {

thread_local std::string data_string;
thread_local std::string derived_key;

void DeriveKey() {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  if (EVP_Digest(data_string.data(), data_string.size(), digest, &size, EVP_sha256(), nullptr) ==
      1) {
    derived_key = platform::ToHex(digest, size);
  } else {
    platform::Log(platform::LogLevel::kError, "cannot derive a key: OpenSSL's SHA-256 fails");
  }
}

}  // namespace

void TevUtilities::SetSha0Data(const char* data) {
  data_string.clear();
  platform::CatchAtBoundary([data] { data_string = data ? data : ""; });
}

const char* TevUtilities::SHA0BadCrypt() {
  derived_key.clear();
  platform::CatchAtBoundary(DeriveKey);
  return derived_key.c_str();
}

}  // namespace saltmoor::utilities
