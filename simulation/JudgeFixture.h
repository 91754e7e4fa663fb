#pragma once

#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "relay/RelayCrypto.h"
#include "relay/RelayMessages.h"
#include "simulation/Judge.h"

namespace quillard::simulation {

// The judge alone, fed by hand with what an agent would do.
class JudgeTest : public testing::Test {
 protected:
  JudgeTest() {
    secrets.pairingID = "pairing-1";
    secrets.relayAuthToken = Secret(std::string(64, 'a'));
    secrets.e2eSecret = Secret(std::string(64, 'b'));
    while (life.open().empty()) life.openPrompt();
  }

  const Appearance& appearance() { return life.appearances()[life.open().front()]; }

  PendingApproval approvalOf(const Appearance& shown, std::uint8_t number) {
    PendingApproval approval;
    approval.id = Uuid::fromRandomBytes({number});
    approval.suppressionID = Uuid::fromRandomBytes({number, 1});
    approval.windowTitle = shown.content.title;
    approval.windowFrame = shown.places.back();
    approval.requiresDirectAccess = shown.content.needsDirectAccess;
    return approval;
  }

  Json seal(const Json& content) {
    return toJson(std::get<EncryptedRelayPayload>(RelayCrypto::seal(content, secrets.e2eSecret, world.random())));
  }

  void list(const std::vector<PendingApproval>& approvals) {
    const Json frame{
        {"type", "mac.snapshot"}, {"accessibilityTrusted", true}, {"encryptedApprovals", seal(toJson(approvals))}};
    judge.agentSent(frame.dump(), secrets);
  }

  void answer(const std::string& id, const std::string& status) {
    const Json frame{{"type", "approval.result"}, {"decisionID", id}, {"encryptedResult", seal({{"status", status}})}};
    judge.agentSent(frame.dump(), secrets);
  }

  TapDecision& decide(const PendingApproval& approval, const std::string& label, bool isNew = true) {
    const std::string id = "decision-" + std::to_string(ledger.decisions().size());
    ledger.add({.id = id,
                .pairingID = secrets.pairingID,
                .approvalID = approval.id,
                .label = label,
                .tappedAt = stage.now(),
                .isNew = isNew},
               id);
    ledger.deliver(*ledger.find(id), stage.now());
    return *ledger.find(id);
  }

  // As a request or a key does.
  void press(const Appearance& shown, const std::string& label) {
    judge.pressed({.at = stage.now(), .appearance = shown.number, .label = label});
  }
  // The mouse went down 0.08 s ago.
  void click(const Appearance& shown, const std::string& label) {
    judge.pressed({.at = stage.now(), .appearance = shown.number, .label = label, .held = Seconds{0.08}});
  }

  // The labels of the first and the last button of the only prompt, which change places now, the second one no
  // "Cancel".
  std::pair<std::string, std::string> swapLabels() {
    life.swapLabels();
    const auto& swap = appearance().swapped.value();
    return swap.first == "Cancel" ? std::pair{swap.first, swap.second} : std::pair{swap.second, swap.first};
  }

  void advance(double seconds) { world.advance(Seconds{seconds}); }

  std::string verdict() { return stage.verdict.reason().value_or("nothing broke"); }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{1}};
  Stage stage{world, {}};
  Identities identities{world};
  Ledger ledger;
  DesktopLife life{stage, 1};
  AgentProcess process{stage, 1};
  OpenedLists lists;
  Judge judge{stage, life, process, identities, ledger, lists};
  InstallationSecrets secrets;
};

}  // namespace quillard::simulation
