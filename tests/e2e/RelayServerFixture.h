#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "companion/relay/rules/RelayWorld.h"
#include "contract/support/EtcdMembers.h"
#include "e2e/RelayProgram.h"
#include "e2e/RelayWire.h"
#include "support/LongTests.h"

namespace quillard::test {

// The real relay over real sockets, and who talks to it.
class RelayServer : public testing::Test {
 protected:
  void SetUp() override {
    if (RelayProgram::relayCount() == 0) GTEST_SKIP() << EtcdMembers::kMissing;
    const bool isOnlyForLong = std::getenv("QUILLARD_ONLY_IN_LONG_TESTS") != nullptr;
    if (isOnlyForLong && rounds(0, 1) == 0) GTEST_SKIP() << "The whole suite takes a minute: ./test --long";
  }

  inline static const std::string kToken = std::string(64, 'a');
  inline static const std::string kName = "office-1";
  inline static const std::string kRegistration = R"({"client":"mac","version":1})";
  inline static const WireHeaders kBearer{{"Authorization", "Bearer " + kToken}};

  static std::string agentQuery(const std::string& pairing = kName) { return "role=mac&pairing=" + pairing; }
  static std::string phoneQuery(const std::string& deviceID) {
    return "role=phone&pairing=" + kName + "&deviceID=" + deviceID + "&deviceName=Ana%27s+phone&platform=iOS";
  }
  // With rates that suit a test.
  static std::vector<std::string> arguments(std::vector<std::string> more = {}) {
    more.insert(more.end(), {"--registration-burst", "1000", "--handshake-burst", "1000"});
    return more;
  }

  void start(const std::vector<std::string>& more = {}) {
    relay = std::make_unique<RelayProgram>(arguments(more));
    ASSERT_EQ(registerToken(), 204);
  }
  [[nodiscard]] std::unique_ptr<RelayWire> wire() const { return std::make_unique<RelayWire>(relay->port()); }
  [[nodiscard]] int registerToken(const std::string& token = kToken, const std::string& pairing = kName) const {
    return wire()
        ->ask("PUT", "/api/pairings/" + pairing + "/relay-token", {{"Authorization", "Bearer " + token}}, kRegistration)
        .status;
  }
  [[nodiscard]] std::unique_ptr<RelayWire> join(const std::string& query) const {
    auto joined = wire();
    EXPECT_EQ(joined->upgrade(query, kBearer).status, 101) << query;
    return joined;
  }
  [[nodiscard]] int connect(const std::string& query, const WireHeaders& headers = kBearer) const {
    return wire()->upgrade(query, headers).status;
  }

  std::unique_ptr<RelayProgram> relay;
};

}  // namespace quillard::test
