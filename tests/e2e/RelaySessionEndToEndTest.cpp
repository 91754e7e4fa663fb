#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "agent/RelaySession.h"
#include "e2e/HurriedExecutors.h"
#include "e2e/RelayProgram.h"
#include "e2e/RelayWire.h"
#include "platform/qt/QtExecutors.h"
#include "platform/qt/QtHttpSessions.h"
#include "platform/qt/QtNetworkThread.h"
#include "platform/qt/QtWebSockets.h"
#include "platform/qt/SystemClock.h"
#include "platform/simulated/SimulatedWorld.h"
#include "relay/RelayAddress.h"
#include "support/QtWait.h"
#include "support/SampleApprovals.h"

// The agent's side of the relay over real sockets, against the real relay, which loses what it knew or revokes.
namespace quillard {
namespace {

using test::RelayProgram;
using test::RelayWire;
using test::waitUntil;

class RelaySessionEndToEnd : public testing::Test {
 protected:
  RelaySessionEndToEnd() {
    world.environment().set("QUILLARD_RELAY_URL", "ws://127.0.0.1:" + std::to_string(relay.port()) + "/ws");
    world.environment().set("QUILLARD_PAIRING_ID", "quillard");
    snapshot.approvals = {samples::approval(1)};
  }
  ~RelaySessionEndToEnd() override { session->stop(); }

  [[nodiscard]] bool startAndConnect() {
    session->startRelayIfConfigured();
    return waitUntil([this] { return session->status().relayConnected; });
  }
  [[nodiscard]] InstallationSecrets identity() { return pairing.installationSecrets(); }
  [[nodiscard]] static test::WireHeaders bearer(const InstallationSecrets& secrets) {
    return {{"Authorization", "Bearer " + std::string(secrets.relayAuthToken.text())}};
  }
  // What only the computer has, too.
  [[nodiscard]] test::WireHeaders proofOf(const InstallationSecrets& secrets) {
    auto headers = bearer(secrets);
    const auto key = computerKeyFor(secrets.computerKey, "ws://127.0.0.1:" + std::to_string(relay.port()) + "/ws");
    headers.emplace_back("Quillard-Computer-Key", std::string(key.text()));
    return headers;
  }
  // The status that a phone with these secrets gets; 101 when it is let in.
  [[nodiscard]] int connectPhone(const InstallationSecrets& secrets) {
    phone = std::make_unique<RelayWire>(relay.port());
    return phone->upgrade("role=phone&pairing=" + secrets.pairingID + "&deviceID=A&deviceName=Ana", bearer(secrets))
        .status;
  }
  // As the computer can, without this agent; which may take the connection back before that.
  void revoke(const InstallationSecrets& secrets) {
    constexpr int kGone = 410;
    for (int attempt = 0; attempt < 50; ++attempt) {
      RelayWire other(relay.port());
      if (other.upgrade("role=mac&pairing=" + secrets.pairingID, proofOf(secrets)).status == kGone) return;
      (void)other.say({{"type", "phone.unpair"}, {"issuedAt", "2026-03-01T12:34:56Z"}});
      (void)other.readClose();
    }
    FAIL() << "The relay did not revoke the pairing.";
  }

  RelayProgram relay{{"--registration-burst", "1000", "--handshake-burst", "1000"}};
  qt::QtExecutors realExecutors;
  test::HurriedExecutors executors{realExecutors};
  qt::QtNetworkThread network;
  qt::QtWebSockets sockets{network};
  qt::QtHttpSessions http{network};
  qt::SystemClock clock;
  platform::simulated::SimulatedWorld world{platform::simulated::Seed{1}};  // Settings, secrets and console.
  const StampClock stampClock{clock, world.random()};
  PairingConfiguration pairing{{world.environment(), world.bundle(), world.secretStore(), world.userDefaults(),
                                world.random(), world.console()}};
  ApprovalSnapshot snapshot{.approvals = {}, .accessibilityTrusted = true};
  std::unique_ptr<RelaySession> session = std::make_unique<RelaySession>(
      RelaySessionDependencies{pairing, executors, http, sockets, clock, world.random(), world.console(), stampClock},
      RelaySessionCallbacks{.snapshotProvider = [this] { return snapshot; },
                            .onApprovalRequest = [](const auto&) {},
                            .onSuppressionCommand = [](const auto&) {},
                            .onStatusChange = [] {},
                            .onPairingForgotten = [] {},
                            .onPairingRenewed = [] {}});
  std::unique_ptr<RelayWire> phone;
};

TEST_F(RelaySessionEndToEnd, ComesBackToARelayThatLostItsDatabase) {
  ASSERT_TRUE(startAndConnect());
  const auto before = identity();
  ASSERT_EQ(connectPhone(before), 101);
  ASSERT_TRUE(waitUntil([this] { return session->status().phoneConnected; }));
  relay.loseDatabaseAndRestart();
  ASSERT_TRUE(waitUntil([this] { return !session->status().relayConnected; }));
  ASSERT_TRUE(waitUntil([this] { return session->status().relayConnected; }));
  EXPECT_EQ(identity(), before);
  EXPECT_FALSE(session->isPairingRevoked());
  ASSERT_EQ(connectPhone(before), 101) << "The phone's code is still good.";
  EXPECT_EQ(phone->read("mac.snapshot")["approvalCount"], 1);
}

TEST_F(RelaySessionEndToEnd, APhoneCannotPoseAsTheComputer) {
  ASSERT_TRUE(startAndConnect());
  const auto secrets = identity();
  ASSERT_FALSE(secrets.computerKey.isEmpty()) << "The relay has asked for it.";
  ASSERT_EQ(connectPhone(secrets), 101);
  for (const std::string key : {"", "new", "0123456789012345678901234567890123456789"}) {
    auto headers = bearer(secrets);
    if (!key.empty()) headers.emplace_back("Quillard-Computer-Key", key);
    RelayWire hostile(relay.port());
    EXPECT_EQ(hostile.upgrade("role=mac&pairing=" + secrets.pairingID, headers).status, 401) << key;
  }
  EXPECT_TRUE(session->status().relayConnected) << "The computer's own connection stays.";
  EXPECT_EQ(phone->read("mac.snapshot")["approvalCount"], 1) << "The list is the computer's.";
}

TEST_F(RelaySessionEndToEnd, ALostPhoneIsCutOffWhileItsPageIsClosed) {
  ASSERT_TRUE(startAndConnect());
  const auto lost = identity();
  ASSERT_EQ(connectPhone(lost), 101);
  phone.reset();
  ASSERT_TRUE(waitUntil([this] { return !session->status().phoneConnected; }));
  session->unpairPhoneFromStatusWindow();
  ASSERT_TRUE(waitUntil([&] { return identity().pairingID != lost.pairingID && session->status().relayConnected; }));
  // What the computer said on its old connection may reach the relay's hands after its new one, and after the phone.
  ASSERT_TRUE(waitUntil([&] { return connectPhone(lost) == 410; }));
}

TEST_F(RelaySessionEndToEnd, KeepsItsIdentityWhenTheRelayRevokesItAndPairsAnewWhenAsked) {
  ASSERT_TRUE(startAndConnect());
  const auto before = identity();
  revoke(before);
  ASSERT_TRUE(waitUntil([this] { return session->isPairingRevoked(); }));
  const auto linesThen = world.console().lines().size();
  (void)waitUntil([end = clock.monotonicNow() + std::chrono::seconds(1), this] { return clock.monotonicNow() > end; });
  EXPECT_EQ(world.console().lines().size(), linesThen) << "No attempt in what is half a minute for the session.";
  EXPECT_TRUE(session->isPairingRevoked());
  EXPECT_EQ(identity(), before) << "No user of this computer gave it up.";
  session->unpairPhoneFromStatusWindow();
  ASSERT_TRUE(waitUntil([this] { return session->status().relayConnected; }));
  EXPECT_FALSE(session->isPairingRevoked());
  const auto after = identity();
  EXPECT_NE(after.pairingID, before.pairingID);
  EXPECT_EQ(connectPhone(before), 410);
  EXPECT_EQ(connectPhone(after), 101);
}

TEST_F(RelaySessionEndToEnd, AsksARelayThatRevokedItOnceAtTheNextStart) {
  ASSERT_TRUE(startAndConnect());
  const auto before = identity();
  revoke(before);
  ASSERT_TRUE(waitUntil([this] { return session->isPairingRevoked(); }));
  relay.loseDatabaseAndRestart();  // Now it knows nothing of the revocation either.
  session->startRelayIfConfigured();
  ASSERT_TRUE(waitUntil([this] { return session->status().relayConnected; }));
  EXPECT_EQ(identity(), before);
  EXPECT_FALSE(session->isPairingRevoked());
}

}  // namespace
}  // namespace quillard
