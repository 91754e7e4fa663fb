#pragma once

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "contract/support/ScriptedServer.h"
#include "contract/support/TestAuthority.h"
#include "contract/support/TransportClients.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {

// What the agent relies on, whatever the binding; each instantiates both suites with the way to make its transports.
class WebSocketContract : public testing::TestWithParam<MakeTransports> {
 protected:
  std::unique_ptr<TransportBinding> make(const TransportSettings& settings = {}) { return GetParam()(settings); }
};

class HttpContract : public testing::TestWithParam<MakeTransports> {
 protected:
  std::unique_ptr<TransportBinding> make(const TransportSettings& settings = {}) { return GetParam()(settings); }
};

// An authority's certificate as a client is told of it. The file goes with this.
class AuthorityFile {
 public:
  explicit AuthorityFile(const TestAuthority& authority) { std::ofstream(path()) << authority.certificate(); }
  [[nodiscard]] std::string path() const { return folder.path() + "/authority.pem"; }

 private:
  const TemporaryFolder folder;
};

// Certificates that a client must refuse, with `authority` being the one that it trusts.
struct BadCertificate {
  const char* name;
  ServerIdentity identity;
};
[[nodiscard]] inline std::vector<BadCertificate> badCertificates(const TestAuthority& authority) {
  return {{"expired", authority.issue({.validFrom = -7200, .validUntil = -3600})},
          {"not yet valid", authority.issue({.validFrom = 3600, .validUntil = 7200})},
          {"for another host", authority.issue({.names = "DNS:relay.example,IP:127.0.0.2"})},
          {"self-signed", TestAuthority::selfSigned()},
          {"of an unknown authority", TestAuthority().issue()}};
}

// The query and header that must not show up in any words about a failure.
inline constexpr std::string_view kCanaryQuery = "canaryquery7f3a";
inline constexpr std::string_view kCanaryHeader = "canaryheader91bc";
inline void expectNoSecret(const std::string& text) {
  EXPECT_EQ(text.find(kCanaryQuery), std::string::npos) << text;
  EXPECT_EQ(text.find(kCanaryHeader), std::string::npos) << text;
}

}  // namespace quillard::test
