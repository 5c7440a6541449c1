#include "certificates.h"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace {

void AddExtension(X509* certificate, X509* issuer, int id, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, id, value.c_str());
  X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
}

Certificate Make(const std::string& name, const Certificate* authority, long begin_s, long end_s,
                 int extension, const std::string& value) {
  static long serial = 0;
  Certificate made{{X509_new(), X509_free}, {EVP_EC_gen("P-256"), EVP_PKEY_free}};
  X509* certificate = made.certificate.get();
  X509_set_version(certificate, X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate), ++serial);
  X509_gmtime_adj(X509_getm_notBefore(certificate), begin_s);
  X509_gmtime_adj(X509_getm_notAfter(certificate), end_s);
  X509_set_pubkey(certificate, made.key.get());
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
  const Certificate& issuer = authority ? *authority : made;
  X509_set_issuer_name(certificate, X509_get_subject_name(issuer.certificate.get()));
  AddExtension(certificate, issuer.certificate.get(), extension, value);
  X509_sign(certificate, issuer.key.get(), EVP_sha256());
  return made;
}

}  // namespace

void Certificate::Save(const std::string& path) const {
  BIO* file = BIO_new_file(path.c_str(), "w");
  PEM_write_bio_X509(file, certificate.get());
  BIO_free(file);
}

Certificate MakeAuthority(const std::string& name) {
  return Make(name, nullptr, -365L * 86400, 86400, NID_basic_constraints, "critical,CA:TRUE");
}

Certificate MakeCertificate(const Certificate& authority, const std::string& host, long begin_s,
                            long end_s) {
  return Make("server", &authority, begin_s, end_s, NID_subject_alt_name, host);
}
