#include "authority.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <sys/stat.h>

#include <string>

#include "hosts.h"
#include "start_error.h"

namespace devshop {
namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;
using File = std::unique_ptr<FILE, int (*)(FILE*)>;

constexpr long kDay_s = 24 * 60 * 60;
constexpr long kAuthorityLife_s = 3650 * kDay_s;
constexpr long kServerLife_s = 397 * kDay_s;  // browsers reject longer ones

/// The certificate and key that sign another certificate.
struct Issuer {
  Certificate certificate{nullptr, X509_free};
  Key key{nullptr, EVP_PKEY_free};
};

Key GenerateKey() {
  return {EVP_EC_gen("P-256"), EVP_PKEY_free};
}

void AddExtension(X509* certificate, X509* issuer, int nid, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str());
  X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
}

/// An unsigned certificate, valid from and to a time counted from now: the caller adds extensions
/// and signs it.
Certificate CreateCertificate(const std::string& name, EVP_PKEY* key, long from_s, long to_s) {
  Certificate certificate(X509_new(), X509_free);
  X509_set_version(certificate.get(), X509_VERSION_3);
  unsigned char serial[16];
  RAND_bytes(serial, sizeof serial);
  serial[0] &= 0x7f;  // serial numbers are positive
  BIGNUM* number = BN_bin2bn(serial, sizeof serial, nullptr);
  BN_to_ASN1_INTEGER(number, X509_get_serialNumber(certificate.get()));
  BN_free(number);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), from_s);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), to_s);
  X509_set_pubkey(certificate.get(), key);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
  return certificate;
}

Issuer CreateAuthority() {
  Key key = GenerateKey();
  Certificate owner =
      CreateCertificate("Quire development authority", key.get(), -kDay_s, kAuthorityLife_s);
  X509* certificate = owner.get();
  X509_set_issuer_name(certificate, X509_get_subject_name(certificate));
  AddExtension(certificate, certificate, NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
  AddExtension(certificate, certificate, NID_key_usage, "critical,keyCertSign,cRLSign");
  AddExtension(certificate, certificate, NID_subject_key_identifier, "hash");
  X509_sign(certificate, key.get(), EVP_sha256());
  return {std::move(owner), std::move(key)};
}

Certificate CreateServerCertificate(const Issuer& issuer, EVP_PKEY* key, CertificateKind kind) {
  const bool expired = kind == CertificateKind::kExpired;
  const std::string host = kind == CertificateKind::kOtherHost ? "other.quire.example" : kShopHost;
  Certificate certificate = CreateCertificate(host, key, expired ? -30 * kDay_s : -kDay_s,
                                              expired ? -kDay_s : kServerLife_s);
  X509* authority = issuer.certificate.get();
  X509_set_issuer_name(certificate.get(), X509_get_subject_name(authority));
  const auto add = [&](int nid, const std::string& value) {
    AddExtension(certificate.get(), authority, nid, value);
  };
  add(NID_basic_constraints, "critical,CA:FALSE");
  add(NID_key_usage, "critical,digitalSignature");
  add(NID_ext_key_usage, "serverAuth");
  add(NID_subject_key_identifier, "hash");
  add(NID_authority_key_identifier, "keyid:always");
  add(NID_subject_alt_name, kind == CertificateKind::kOtherHost
                                ? "DNS:" + host
                                : "DNS:" + host + ",DNS:localhost,IP:127.0.0.1");
  X509_sign(certificate.get(), issuer.key.get(), EVP_sha256());
  return certificate;
}

File OpenFile(const std::filesystem::path& path, const char* mode) {
  return {std::fopen(path.c_str(), mode), std::fclose};
}

/// Lacks what cannot be read.
Issuer ReadAuthority(const std::filesystem::path& certificate, const std::filesystem::path& key) {
  Issuer authority;
  if (const File file = OpenFile(certificate, "r")) {
    authority.certificate.reset(PEM_read_X509(file.get(), nullptr, nullptr, nullptr));
  }
  if (const File file = OpenFile(key, "r")) {
    authority.key.reset(PEM_read_PrivateKey(file.get(), nullptr, nullptr, nullptr));
  }
  return authority;
}

void WriteAuthority(const Issuer& authority, const std::filesystem::path& certificate,
                    const std::filesystem::path& key) {
  const mode_t old_mask = umask(0077);
  const File key_file = OpenFile(key, "w");
  umask(old_mask);
  const File certificate_file = OpenFile(certificate, "w");
  if (!key_file || !certificate_file ||
      !PEM_write_PrivateKey(key_file.get(), authority.key.get(), nullptr, nullptr, 0, nullptr,
                            nullptr) ||
      !PEM_write_X509(certificate_file.get(), authority.certificate.get()) ||
      std::fflush(key_file.get()) != 0 || std::fflush(certificate_file.get()) != 0) {
    throw StartError("Cannot write the test authority " + certificate.string() +
                     "; name a writable directory with --data.");
  }
}

/// True when the authority is valid for longer than the certificates that it signs.
bool OutlivesServerCertificates(X509* certificate) {
  int days = 0, seconds = 0;
  return ASN1_TIME_diff(&days, &seconds, nullptr, X509_get0_notAfter(certificate)) == 1 &&
         days * kDay_s > kServerLife_s;
}

/// The directory's authority; a new one when there is none, or it is about to expire.
Issuer OpenAuthority(const std::filesystem::path& directory) {
  const auto certificate = directory / "ca.pem", key = directory / "ca.key";
  if (std::filesystem::exists(certificate) || std::filesystem::exists(key)) {
    Issuer kept = ReadAuthority(certificate, key);
    if (!kept.certificate || !kept.key ||
        X509_check_private_key(kept.certificate.get(), kept.key.get()) != 1) {
      throw StartError(
          "The test authority in " + directory.string() +
          " is broken; remove ca.pem and ca.key there; the shop then creates new ones.");
    }
    if (OutlivesServerCertificates(kept.certificate.get())) return kept;
  }
  Issuer authority = CreateAuthority();
  WriteAuthority(authority, certificate, key);
  return authority;
}

}  // namespace

TlsContext CreateServerContext(const std::filesystem::path& directory, CertificateKind kind) {
  Issuer issuer = OpenAuthority(directory);
  if (kind == CertificateKind::kUnknownAuthority) issuer = CreateAuthority();
  const Key key = GenerateKey();
  const Certificate certificate = CreateServerCertificate(issuer, key.get(), kind);
  TlsContext context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
  SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
  if (SSL_CTX_use_certificate(context.get(), certificate.get()) != 1 ||
      SSL_CTX_use_PrivateKey(context.get(), key.get()) != 1) {
    throw StartError("OpenSSL rejects the shop's certificate; reinstall the OpenSSL library.");
  }
  return context;
}

}  // namespace devshop
