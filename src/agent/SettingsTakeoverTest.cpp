#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/SettingsTakeover.h"
#include "platform/simulated/SimulatedWorld.h"
#include "relay/UserRelay.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

// What a change leads to, in its order, without anything that it is about.
struct SettingsTakeoverTest : testing::Test {
  std::function<void()> does(const std::string& what) {
    return [this, what] { done.push_back(what); };
  }
  [[nodiscard]] std::optional<bool> isTakenOver(const SettingsChange& change) {
    const auto outcome = takeover.change(change);
    const auto* const result = std::get_if<SettingsChangeResult>(&outcome);
    return result ? std::optional(result->isTakenOver) : std::nullopt;
  }
  void setRelayOfTheEnvironment() {
    world.environment().set("QUILLARD_RELAY_URL", "wss://other.example/ws");
    world.environment().set("QUILLARD_PAIRING_ID", "pairing");
  }

  SimulatedWorld world{Seed{1}};
  platform::Platform platform = world.platform();
  PairingConfiguration pairing{{platform.environment, platform.bundle, platform.secretStore, platform.userDefaults,
                                platform.random, platform.console}};
  InstallLocation location{platform.bundle};
  std::vector<std::string> done;
  SettingsTakeover takeover{{platform.userDefaults, {platform.environment, &platform.userDefaults}, pairing, location},
                            {.takeOverTunables = does("tunables"),
                             .connectAnew = does("connect"),
                             .forgetPairingCode = does("forget code"),
                             .forgetApprovals = does("forget approvals"),
                             .startDetection = does("detect"),
                             .publish = does("publish"),
                             .refreshWindow = does("refresh")}};
};

TEST_F(SettingsTakeoverTest, TakesOverATunable) {
  EXPECT_EQ(isTakenOver({"event-scan-debounce", "0.5"}), true);
  EXPECT_THAT(done, ElementsAre("tunables", "publish"));
}

TEST_F(SettingsTakeoverTest, ConnectsAnewForAnotherAuthority) {
  EXPECT_EQ(isTakenOver({"relay-authority", "/etc/authority.pem"}), true);
  EXPECT_THAT(done, ElementsAre("tunables", "connect", "publish"));
  done.clear();
  EXPECT_EQ(isTakenOver({"relay-authority", "/etc/authority.pem"}), true);
  EXPECT_THAT(done, ElementsAre("tunables", "publish")) << "It is the same.";
}

TEST_F(SettingsTakeoverTest, DoesNothingForWhatCannotBeKept) {
  EXPECT_EQ(isTakenOver({"event-scan-debounce", "soon"}), std::nullopt);
  EXPECT_THAT(takeover.setRelay("ws://relay.example").value_or(""), Not(IsEmpty()));
  EXPECT_THAT(done, IsEmpty());
}

TEST_F(SettingsTakeoverTest, StartsDetectionWithTheFirstRelay) {
  EXPECT_EQ(takeover.setRelay("relay.example"), std::nullopt);
  EXPECT_EQ(UserRelay::stored(platform.userDefaults), "wss://relay.example/ws");
  EXPECT_THAT(done, ElementsAre("forget code", "connect", "detect", "refresh"));
}

TEST_F(SettingsTakeoverTest, GoesOnDetectingWithAnotherRelay) {
  (void)takeover.setRelay("relay.example");
  done.clear();
  EXPECT_EQ(takeover.setRelay("second.example"), std::nullopt);
  EXPECT_THAT(done, ElementsAre("forget code", "connect", "refresh"));
}

TEST_F(SettingsTakeoverTest, ForgetsApprovalsWithTheRelay) {
  (void)takeover.setRelay("relay.example");
  done.clear();
  EXPECT_EQ(isTakenOver({"relay", std::nullopt}), true);
  EXPECT_THAT(done, ElementsAre("forget code", "connect", "forget approvals", "refresh"));
}

TEST_F(SettingsTakeoverTest, KeepsARelayThatTheEnvironmentOutranks) {
  setRelayOfTheEnvironment();
  EXPECT_EQ(isTakenOver({"relay", "relay.example"}), false);
  EXPECT_EQ(UserRelay::stored(platform.userDefaults), "wss://relay.example/ws");
  EXPECT_THAT(done, IsEmpty());
}

TEST_F(SettingsTakeoverTest, ConnectsNothingBeforeItIsInstalled) {
  world.bundle().setPath("/Users/ann/Downloads/Quillard.app");
  EXPECT_EQ(isTakenOver({"relay", "relay.example"}), false);
  EXPECT_EQ(isTakenOver({"relay-authority", "/etc/authority.pem"}), true);
  EXPECT_THAT(done, ElementsAre("tunables", "publish"));
}

TEST_F(SettingsTakeoverTest, SaysWhatIsNotOnTheDisk) {
  world.userDefaults().setDiskFull(true);
  EXPECT_THAT(takeover.setRelay("relay.example").value_or(""), Not(IsEmpty()));
  EXPECT_THAT(done, ElementsAre("forget code", "connect", "detect", "refresh")) << "It counts all the same.";
}

}  // namespace
}  // namespace quillard
