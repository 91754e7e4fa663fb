#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "e2e/AgentOnDesktop.h"
#include "e2e/RelayProgram.h"
#include "e2e/RelayWire.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/InstallationSecrets.h"
#include "relay/RelayCommands.h"
#include "relay/RelayCrypto.h"
#include "relay/RelayMessages.h"

namespace quillard::test {

// A phone of one pairing over real sockets, made apart from the page.
class WirePhone {
 public:
  WirePhone(const RelayProgram& relay, InstallationSecrets secrets) : relay(relay), secrets(std::move(secrets)) {}

  // The status that it gets; 101 when it is let in. `from`: the address that a proxy names.
  [[nodiscard]] int join(const std::string& deviceID = "A", const std::string& from = {}) {
    wire = std::make_unique<RelayWire>(relay.port());
    return wire
        ->upgrade("role=phone&pairing=" + secrets.pairingID + "&deviceID=" + deviceID + "&deviceName=Ana",
                  headers(from))
        .status;
  }
  void leave() { wire.reset(); }
  [[nodiscard]] WireHeaders headers(const std::string& from = {}) const {
    WireHeaders all{{"Authorization", "Bearer " + std::string(secrets.relayAuthToken.text())}};
    if (!from.empty()) all.emplace_back("X-Forwarded-For", from);
    return all;
  }
  // As soon as it is in a list that the phone gets.
  std::optional<PendingApproval> waitFor(const std::string& title) {
    for (;;) {
      const Json message = wire->read("mac.snapshot");
      if (message.is_null()) return std::nullopt;
      const auto snapshot = std::get<MacSnapshotRelayMessage>(readRelayRecord<MacSnapshotRelayMessage>(message.dump()));
      const auto list = readPendingApprovals(opened(snapshot.encryptedApprovals));
      if (auto found = titled(std::get<std::vector<PendingApproval>>(list), title)) return found;
    }
  }
  // What the phone is answered; empty: nothing.
  std::string decide(const Uuid& approvalID, const std::string& label) {
    const auto box = sealed(toJson(ApprovalRequestCommand{.approvalID = approvalID, .buttonLabel = label}));
    wire->say(toJson(ApprovalRequestRelayMessage{.decisionID = "decision-1", .encryptedRequest = box}));
    const Json message = wire->read("approval.result");
    if (message.is_null()) return {};
    const auto result =
        std::get<ApprovalResultRelayMessage>(readRelayRecord<ApprovalResultRelayMessage>(message.dump()));
    return std::get<ApprovalResultCommand>(readRelayCommand<ApprovalResultCommand>(opened(result.encryptedResult)))
        .status;
  }
  [[nodiscard]] EncryptedRelayPayload sealed(const Json& value) {
    return std::get<EncryptedRelayPayload>(RelayCrypto::seal(value, secrets.e2eSecret, random));
  }
  [[nodiscard]] std::string opened(const EncryptedRelayPayload& payload) const {
    return std::get<std::string>(RelayCrypto::open(payload, secrets.e2eSecret));
  }
  [[nodiscard]] const std::string& pairingID() const { return secrets.pairingID; }
  // While it is joined.
  [[nodiscard]] RelayWire& connection() { return *wire; }

 private:
  const RelayProgram& relay;
  InstallationSecrets secrets;
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{43}};
  std::unique_ptr<RelayWire> wire;
};

// The agent as a user has it, on a real desktop, and the real relay: programs as they were built.
class AgentAtRelay : public testing::Test {
 protected:
  explicit AgentAtRelay(const std::vector<std::string>& relayArguments = {})
      : relay(relayArguments),
        agent(installed.start({{"QUILLARD_RELAY_URL", "ws://127.0.0.1:" + std::to_string(relay.port()) + "/ws"},
                               {"QUILLARD_PAIRING_ID", "office"}})),
        secrets(installed.secrets()) {}

  // How often an agent has joined.
  [[nodiscard]] int joins() const {
    const std::string log = relay.output();
    const std::string sign = "Agent joined";
    int joined = 0;
    for (auto at = log.find(sign); at != std::string::npos; at = log.find(sign, at + 1)) ++joined;
    return joined;
  }
  [[nodiscard]] bool waitForAgent(int times) {
    return waitFor([&] { return joins() >= times; });
  }
  std::string printed() { return agent.output() + agent.errors() + relay.output(); }

  PrivateDesktop desktop;
  RelayProgram relay;
  InstalledAgent installed{desktop, QUILLARD_PROGRAM, QUILLARD_INFORMATION};
  DesktopProgram agent;
  const InstallationSecrets secrets;  // Of its first pairing.
  WirePhone phone{relay, secrets};
};

}  // namespace quillard::test
