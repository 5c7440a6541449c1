#ifndef TESTS_CONTRACT_SUPPORT_CERTIFICATES_H_
#define TESTS_CONTRACT_SUPPORT_CERTIFICATES_H_

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

/// A generated certificate with its key.
struct Certificate {
  std::shared_ptr<X509> certificate;
  std::shared_ptr<EVP_PKEY> key;

  /// Writes the certificate as a PEM file.
  void Save(const std::string& path) const;
};

/// Generates the certificate of an authority.
Certificate MakeAuthority(const std::string& name);

/// Generates the certificate of a server.
/// \param host  the subject alternative name, such as "DNS:shop.example" or "IP:127.0.0.1".
/// \param begin_s,end_s  its validity, in seconds from now.
Certificate MakeCertificate(const Certificate& authority, const std::string& host,
                            long begin_s = -3600, long end_s = 3600);

#endif  // TESTS_CONTRACT_SUPPORT_CERTIFICATES_H_
