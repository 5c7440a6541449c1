#ifndef DEVSHOP_AUTHORITY_H_
#define DEVSHOP_AUTHORITY_H_

#include <openssl/ssl.h>

#include <filesystem>
#include <memory>

namespace devshop {

/// The shop's certificate: a good one, or one that a client must reject.
enum class CertificateKind { kGood, kOtherHost, kExpired, kUnknownAuthority };

using TlsContext = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;

/// A certificate authority for tests. Its certificate (`ca.pem`) and key (`ca.key`, mode 0600) are
/// kept in a directory, so that a client can trust `ca.pem` between runs, and replaced when they
/// are about to expire.
class Authority {
 public:
  /// Throws StartError when the directory cannot be written or its authority is broken.
  explicit Authority(const std::filesystem::path& directory);

  const std::filesystem::path& certificate_file() const { return certificate_file_; }

  /// A server context with a fresh key and certificate for the shop's host, localhost and
  /// 127.0.0.1, or one that clients must reject. Throws StartError.
  TlsContext ServerContext(CertificateKind kind) const;

 private:
  std::filesystem::path certificate_file_;
  std::filesystem::path key_file_;
};

}  // namespace devshop

#endif  // DEVSHOP_AUTHORITY_H_
