#ifndef DEVSHOP_AUTHORITY_H_
#define DEVSHOP_AUTHORITY_H_

#include <openssl/ssl.h>

#include <filesystem>
#include <memory>

namespace devshop {

/// Certificates for the shop: a good one, and some that a client must not accept.
enum class CertificateKind { kGood, kOtherHost, kExpired, kUnknownAuthority };

using TlsContext = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;

/// A certificate authority for tests. Its certificate (`ca.pem`) and key (`ca.key`, for the owner
/// only) are made in the directory at first use and made anew when they are about to expire, so
/// that a client that trusts `ca.pem` goes on doing so between runs.
class Authority {
 public:
  /// Throws StartError when the directory cannot be written or holds a broken authority.
  explicit Authority(const std::filesystem::path& directory);

  const std::filesystem::path& certificate_file() const { return certificate_file_; }

  /// A server context with a fresh key and certificate for the shop's host, localhost and
  /// 127.0.0.1, or one that is wrong on purpose.
  TlsContext ServerContext(CertificateKind kind) const;

 private:
  std::filesystem::path certificate_file_;
  std::filesystem::path key_file_;
};

}  // namespace devshop

#endif  // DEVSHOP_AUTHORITY_H_
