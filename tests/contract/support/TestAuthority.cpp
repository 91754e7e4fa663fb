#include "contract/support/TestAuthority.h"

#include <stdexcept>

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

namespace quillard::test {
namespace {

using Key = std::shared_ptr<EVP_PKEY>;
using Certificate = std::shared_ptr<X509>;

void require(bool succeeded) {
  if (!succeeded) throw std::runtime_error("OpenSSL could not make a test certificate.");
}

Key makeKey() {
  Key key(EVP_EC_gen("P-256"), EVP_PKEY_free);
  require(key != nullptr);
  return key;
}

void addExtension(X509* certificate, X509* issuer, int kind, const std::string& text) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
      X509V3_EXT_conf_nid(nullptr, &context, kind, text.c_str()), X509_EXTENSION_free);
  require(extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1);
}

void setSerial(X509* certificate) {
  std::uint64_t number = 0;
  require(RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number) == 1);
  require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), number >> 1U | 1U) == 1);
}

void setName(X509* certificate, const std::string& name) {
  if (name.empty()) return;
  X509_NAME* const subject = X509_get_subject_name(certificate);
  const auto* bytes = reinterpret_cast<const unsigned char*>(name.c_str());
  require(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, bytes, -1, -1, 0) == 1);
}

Certificate blankCertificate(const Key& key, const std::string& name, const CertificateOptions& options) {
  Certificate certificate(X509_new(), X509_free);
  require(certificate != nullptr && X509_set_version(certificate.get(), X509_VERSION_3) == 1);
  setSerial(certificate.get());
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), options.validFrom);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), options.validUntil);
  require(X509_set_pubkey(certificate.get(), key.get()) == 1);
  setName(certificate.get(), name);
  return certificate;
}

void sign(X509* certificate, const X509* issuer, const Key& key) {
  require(X509_set_issuer_name(certificate, X509_get_subject_name(issuer)) == 1);
  require(X509_sign(certificate, key.get(), EVP_sha256()) > 0);
}

std::string contentOf(BIO* bio) {
  char* data = nullptr;
  const long size = BIO_get_mem_data(bio, &data);
  return {data, static_cast<std::size_t>(size)};
}

std::string pem(X509* certificate) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), BIO_free);
  require(PEM_write_bio_X509(bio.get(), certificate) == 1);
  return contentOf(bio.get());
}

std::string pem(EVP_PKEY* key) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), BIO_free);
  require(PEM_write_bio_PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1);
  return contentOf(bio.get());
}

}  // namespace

TestAuthority::TestAuthority() : key(makeKey()), own(blankCertificate(key, "Test authority", {})) {
  addExtension(own.get(), own.get(), NID_basic_constraints, "critical,CA:TRUE");
  addExtension(own.get(), own.get(), NID_key_usage, "critical,keyCertSign");
  sign(own.get(), own.get(), key);
}

std::string TestAuthority::certificate() const { return pem(own.get()); }

ServerIdentity TestAuthority::issue(const CertificateOptions& options) const {
  const Key serverKey = makeKey();
  const Certificate certificate = blankCertificate(serverKey, options.commonName, options);
  addExtension(certificate.get(), own.get(), NID_subject_alt_name, options.names);
  sign(certificate.get(), own.get(), key);
  return {pem(certificate.get()), pem(serverKey.get())};
}

ServerIdentity TestAuthority::selfSigned(const CertificateOptions& options) {
  const Key serverKey = makeKey();
  const Certificate certificate = blankCertificate(serverKey, options.commonName, options);
  addExtension(certificate.get(), certificate.get(), NID_subject_alt_name, options.names);
  sign(certificate.get(), certificate.get(), serverKey);
  return {pem(certificate.get()), pem(serverKey.get())};
}

}  // namespace quillard::test
