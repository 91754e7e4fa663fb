#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "agent/FallbackStatusSnapshot.h"
#include "agent/RelaySession.h"
#include "platform/simulated/SimulatedWorld.h"
#include "support/AgentWorld.h"
#include "support/SampleApprovals.h"

namespace quillard {

// A session with a relay and a phone, and nothing else of an agent.
struct RelaySessionTest : testing::Test {
  RelaySessionTest() {
    world.environment().set("QUILLARD_RELAY_URL", "wss://relay.example/ws");
    world.environment().set("QUILLARD_PAIRING_ID", "quillard");
  }
  std::unique_ptr<RelaySession> makeSession() {
    return std::make_unique<RelaySession>(
        RelaySessionDependencies{pairing, world.time(), world.httpSessions(), world.webSockets(), world.time(),
                                 world.random(), world.console(), stampClock},
        RelaySessionCallbacks{
            .snapshotProvider = [this] { return snapshot; },
            .onApprovalRequest = [this](const auto& envelope) { events.push_back("decision " + envelope.decisionID); },
            .onSuppressionCommand = [this](const auto& command) { events.push_back(command.action); },
            .onStatusChange = [this] { events.emplace_back("status"); },
            .onPairingForgotten =
                [this] {
                  identityWhenForgotten = identity();
                  events.emplace_back("forgotten");
                },
            .onPairingRenewed =
                [this] {
                  identityWhenRenewed = identity();
                  events.emplace_back("renewed");
                },
            .onPairingEnding = [this](const auto& revocation) { toRevoke = revocation; }});
  }
  void onMainThread(const std::function<void()>& act) { world.time().runOnMainThread(act); }
  void start() {
    onMainThread([this] { session->startRelayIfConfigured(); });
    advance(0.1);
  }
  void startAndPair() {
    start();
    phone.pair();
    events.clear();
  }
  void publish(bool force) {
    onMainThread([this, force] { session->publishCurrentApprovalSnapshot(force); });
  }
  void unpair() {
    onMainThread([this] { session->unpairPhoneFromStatusWindow(); });
  }
  void stop() {
    bool isDone = false;
    onMainThread([&] {
      session->stop();
      isDone = true;
    });
    while (!isDone) advance(0.01);
  }
  void advance(double seconds) { world.advance(Seconds{seconds}); }
  [[nodiscard]] std::string identity() const {
    const auto secrets = samples::keptSecrets(world);
    return secrets ? secrets->pairingID : "";
  }
  [[nodiscard]] std::size_t requestCount() { return world.httpSessions().requests().size(); }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{4}};
  samples::SimulatedRelay relay{world};
  samples::SimulatedPhone phone{world, relay};
  platform::simulated::SimulatedRandom epochs{platform::simulated::Seed{77}};
  const StampClock stampClock{world.time(), epochs};
  PairingConfiguration pairing{pairingDependencies(world.platform())};
  ApprovalSnapshot snapshot{.accessibilityTrusted = true};
  std::vector<std::string> events;
  std::string identityWhenForgotten;
  std::string identityWhenRenewed;
  std::optional<UnsentRevocation> toRevoke;
  std::unique_ptr<RelaySession> session = makeSession();
};

}  // namespace quillard
