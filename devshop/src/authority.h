#ifndef DEVSHOP_AUTHORITY_H_
#define DEVSHOP_AUTHORITY_H_

#include <openssl/ssl.h>

#include <filesystem>
#include <memory>

namespace devshop {

/// The shop's certificate: a good one, or one that a client must reject.
enum class CertificateKind { kGood, kOtherHost, kExpired, kUnknownAuthority };

using TlsContext = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;

/// A server context with a fresh key and certificate for the shop's host, localhost and 127.0.0.1.
/// Its test authority is kept in the directory as `ca.pem` and `ca.key` (mode 0600), so that a
/// client can trust `ca.pem` between runs, and replaced when it is about to expire. Throws
/// StartError when the directory cannot be written or its authority is broken.
TlsContext CreateServerContext(const std::filesystem::path& directory, CertificateKind kind);

}  // namespace devshop

#endif  // DEVSHOP_AUTHORITY_H_
