#pragma once

#include <memory>
#include <string>

#include <openssl/evp.h>
#include <openssl/x509.h>

namespace quillard::test {

// A key and a certificate for it, both PEM.
struct ServerIdentity {
  std::string certificate;
  std::string key;
};

// What a certificate may say.
struct CertificateOptions {
  std::string names = "IP:127.0.0.1";      // Alternative names, as OpenSSL writes them.
  std::string commonName = "Test server";  // Empty: it names nobody.
  long validFrom = -3600;                  // Seconds from now.
  long validUntil = 3600;
};

// A certificate authority that exists for one test run and is trusted by no client that was not given it.
class TestAuthority {
 public:
  TestAuthority();

  // For those who are to trust it.
  [[nodiscard]] std::string certificate() const;
  [[nodiscard]] ServerIdentity issue(const CertificateOptions& options = {}) const;
  // Vouched for by itself alone.
  [[nodiscard]] static ServerIdentity selfSigned(const CertificateOptions& options = {});

 private:
  std::shared_ptr<EVP_PKEY> key;
  std::shared_ptr<X509> own;
};

}  // namespace quillard::test
