#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "e2e/AgentOnDesktop.h"
#include "e2e/RelayProgram.h"
#include "e2e/RelayWire.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/RelayCommands.h"
#include "relay/RelayCrypto.h"
#include "relay/RelayMessages.h"

// The agent as a user has it and the real relay, which loses its database.
namespace quillard {
namespace {

using test::DesktopProgram;
using test::InstalledAgent;
using test::kFirstButton;
using test::PrivateDesktop;
using test::prompt;
using test::RelayProgram;
using test::RelayWire;
using test::titled;
using test::waitFor;

class ForgetfulRelay : public testing::Test {
 protected:
  ForgetfulRelay()
      : agent(installed.start({{"QUILLARD_RELAY_URL", "ws://127.0.0.1:" + std::to_string(relay.port()) + "/ws"},
                               {"QUILLARD_PAIRING_ID", "office"}})),
        secrets(installed.secrets()) {}

  [[nodiscard]] bool waitForAgent(int times) {
    return waitFor([&] {
      const std::string log = relay.output();
      const std::string sign = "Agent joined";
      int joined = 0;
      for (auto at = log.find(sign); at != std::string::npos; at = log.find(sign, at + 1)) ++joined;
      return joined >= times;
    });
  }
  // The status that it gets; 101 when it is let in.
  [[nodiscard]] int connectPhone() {
    phone = std::make_unique<RelayWire>(relay.port());
    return phone
        ->upgrade("role=phone&pairing=" + secrets.pairingID + "&deviceID=A&deviceName=Ana",
                  {{"Authorization", "Bearer " + std::string(secrets.relayAuthToken.text())}})
        .status;
  }
  // As soon as it is in a list that the phone gets.
  std::optional<PendingApproval> onPhone(const std::string& title) {
    for (;;) {
      const Json message = phone->read("mac.snapshot");
      if (message.is_null()) return std::nullopt;
      const auto snapshot = std::get<MacSnapshotRelayMessage>(readRelayRecord<MacSnapshotRelayMessage>(message.dump()));
      const auto list = readPendingApprovals(opened(snapshot.encryptedApprovals));
      if (auto found = titled(std::get<std::vector<PendingApproval>>(list), title)) return found;
    }
  }
  // What the phone is answered; empty: nothing.
  std::string decide(const Uuid& approvalID, const std::string& label) {
    const auto command = toJson(ApprovalRequestCommand{.approvalID = approvalID, .buttonLabel = label});
    const auto box = std::get<EncryptedRelayPayload>(RelayCrypto::seal(command, secrets.e2eSecret, random));
    phone->say(toJson(ApprovalRequestRelayMessage{.decisionID = "decision-1", .encryptedRequest = box}));
    const Json message = phone->read("approval.result");
    if (message.is_null()) return {};
    const auto result =
        std::get<ApprovalResultRelayMessage>(readRelayRecord<ApprovalResultRelayMessage>(message.dump()));
    return std::get<ApprovalResultCommand>(readRelayCommand<ApprovalResultCommand>(opened(result.encryptedResult)))
        .status;
  }
  std::string opened(const EncryptedRelayPayload& payload) {
    return std::get<std::string>(RelayCrypto::open(payload, secrets.e2eSecret));
  }
  std::string printed() { return agent.output() + agent.errors() + relay.output(); }

  PrivateDesktop desktop;
  RelayProgram relay;
  InstalledAgent installed{desktop, QUILLARD_PROGRAM, QUILLARD_INFORMATION};
  DesktopProgram agent;
  const InstallationSecrets secrets;
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{43}};
  std::unique_ptr<RelayWire> phone;
};

TEST_F(ForgetfulRelay, IsToldAgainWhoTheAgentIsAndThePhoneHasItsListBack) {
  auto dialog = desktop.launch("gtk3_prompt", prompt("Waiting", {"No", "Yes"}));
  ASSERT_TRUE(waitForAgent(1)) << printed();
  ASSERT_EQ(connectPhone(), 101) << printed();
  const auto before = onPhone("Waiting");
  ASSERT_TRUE(before) << printed();
  relay.loseDatabaseAndRestart();
  ASSERT_TRUE(waitForAgent(2)) << printed();
  ASSERT_EQ(connectPhone(), 101) << printed();
  const auto after = onPhone("Waiting");
  ASSERT_TRUE(after) << printed();
  EXPECT_EQ(after->id, before->id);
  EXPECT_EQ(decide(after->id, "Yes"), kAcceptedStatus) << printed();
  EXPECT_EQ(dialog.wait(), kFirstButton + 1);
}

}  // namespace
}  // namespace quillard
