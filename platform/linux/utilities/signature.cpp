#include "saltmoor/utilities/signature.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include "platform/linux/common/log.h"
#include "platform/linux/common/transfer.h"
#include "platform/linux/utilities/hex.h"

namespace saltmoor::utilities {
namespace {

std::string Sign(const HttpRequest& request, const std::string& salt, const std::string& key) {
  const std::string text = request.GetMethod() + '\n' + request.GetUrl() + '\n' +
                           platform::EncodeFields(request.GetGetParams()) + '\n' +
                           platform::EncodeFields(request.GetPostParams()) + '\n' + salt;
  unsigned char code[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  if (!HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
            reinterpret_cast<const unsigned char*>(text.data()), text.size(), code, &size)) {
    platform::Log(platform::LogLevel::kError, "cannot sign the request: OpenSSL's HMAC fails");
  }
  return platform::ToHex(code, size);
}

}  // namespace

std::string Signature::GenerateNonce() {
  return platform::CatchAtBoundary(std::string(), [] {
    unsigned char random[16];
    if (RAND_bytes(random, sizeof random) == 1) return platform::ToHex(random, sizeof random);
    platform::Log(platform::LogLevel::kError, "the system has no source of randomness");
    return std::string();
  });
}

std::string Signature::CreateSignature(const HttpRequest& request, const std::string& salt,
                                       const std::string& key) {
  return platform::CatchAtBoundary(std::string(), [&] { return Sign(request, salt, key); });
}

}  // namespace saltmoor::utilities
