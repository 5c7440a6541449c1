#include "saltmoor/utilities/signature.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <exception>

#include "platform/linux/common/log.h"
#include "platform/linux/common/transfer.h"
#include "platform/linux/utilities/hex.h"

namespace saltmoor::utilities {

std::string Signature::GenerateNonce() try {
  unsigned char random[16];
  if (RAND_bytes(random, sizeof random) != 1) {
    platform::Log(platform::LogLevel::kError, "the system has no randomness to give");
    return "";
  }
  return platform::ToHex(random, sizeof random);
} catch (const std::exception&) {
  return "";
}

std::string Signature::CreateSignature(const HttpRequest& request, const std::string& salt,
                                       const std::string& key) try {
  const std::string text = request.GetMethod() + '\n' + request.GetUrl() + '\n' +
                           platform::EncodeFields(request.GetGetParams()) + '\n' +
                           platform::EncodeFields(request.GetPostParams()) + '\n' + salt;
  unsigned char code[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  if (!HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
            reinterpret_cast<const unsigned char*>(text.data()), text.size(), code, &size)) {
    platform::Log(platform::LogLevel::kError, "the request cannot be signed: OpenSSL refuses");
    return "";
  }
  return platform::ToHex(code, size);
} catch (const std::exception&) {
  return "";
}

}  // namespace saltmoor::utilities
