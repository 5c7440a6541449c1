#ifndef TESTS_CONTRACT_SUPPORT_CERTIFICATES_H_
#define TESTS_CONTRACT_SUPPORT_CERTIFICATES_H_

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

/// A certificate with its key, made on the spot.
struct Certificate {
  std::shared_ptr<X509> certificate;
  std::shared_ptr<EVP_PKEY> key;

  /// Writes the certificate as a PEM file.
  void Save(const std::string& path) const;
};

/// Makes an authority of that name.
Certificate MakeAuthority(const std::string& name);

/// Makes a server's certificate.
/// \param host  as a subject alternative name, such as "DNS:shop.example" or "IP:127.0.0.1".
/// \param begin_s,end_s  when it is valid, in seconds from now.
Certificate MakeCertificate(const Certificate& authority, const std::string& host,
                            long begin_s = -3600, long end_s = 3600);

#endif  // TESTS_CONTRACT_SUPPORT_CERTIFICATES_H_
