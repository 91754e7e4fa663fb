#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"
#include "contract/support/ScriptedServer.h"
#include "foundation/Uuid.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/RelayCommands.h"
#include "relay/RelayMessages.h"
#include "values/Secret.h"

namespace quillard::test {

// A relay for one agent with one phone behind it, both fakes that the test controls: takes the agent's token, keeps its
// newest list, and delivers what the phone sends. Any thread; every wait has a deadline of thirty seconds unless it
// says another.
class TestRelay {
 public:
  TestRelay();
  TestRelay(const TestRelay&) = delete;
  TestRelay& operator=(const TestRelay&) = delete;

  // What the agent is to be configured with.
  [[nodiscard]] std::string url() const { return server.url("ws"); }
  // What the phone learns from the pairing code. Until then it cannot read anything.
  void pairPhone(const Secret& secret);

  // The status codes of further registrations; 200 at first.
  void answerRegistrations(int status);
  [[nodiscard]] bool waitForConnection();
  // How often the agent has connected.
  [[nodiscard]] int connections();
  // When the agent's first list came, after this object was made.
  [[nodiscard]] std::optional<std::chrono::steady_clock::time_point> firstSnapshotAt();
  // Until the newest list of the agent is one that `accepts` likes. Absent: none was in time.
  [[nodiscard]] std::optional<std::vector<PendingApproval>> waitForList(
      const std::function<bool(const std::vector<PendingApproval>&)>& accepts,
      std::chrono::milliseconds deadline = std::chrono::seconds(30));

  // The phone's tap on a button. Gives the decision's identifier.
  std::string decide(const Uuid& approvalID, const std::string& buttonLabel);
  // The same decision again, sealed anew.
  void decideAgain(const std::string& decisionID, const Uuid& approvalID, const std::string& buttonLabel);
  [[nodiscard]] std::optional<ApprovalResultCommand> waitForResult(
      const std::string& decisionID, std::chrono::milliseconds deadline = std::chrono::seconds(30));
  // All results that came for the decision.
  [[nodiscard]] std::size_t resultCount(const std::string& decisionID);
  void suppress(const Uuid& suppressionID, std::string_view action);

  // Ends the agent's connection rudely; it may come back.
  void dropAgent();

 private:
  void serve(ServerConnection& connection);
  void talk(ServerConnection& connection);
  void take(const std::string& text);
  void takeSnapshot(const MacSnapshotRelayMessage& message);
  void takeResult(const ApprovalResultRelayMessage& message);
  void sendToAgent(const Json& message);
  [[nodiscard]] EncryptedRelayPayload sealed(const Json& value);
  [[nodiscard]] std::optional<std::string> opened(const EncryptedRelayPayload& payload);

  std::mutex mutex;
  std::condition_variable changed;
  Secret phonesSecret;
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{42}};
  int registrationStatus = 200;
  int decisions = 0;
  int connected = 0;
  ServerConnection* agent = nullptr;
  std::optional<std::chrono::steady_clock::time_point> firstSnapshot;
  std::optional<MacSnapshotRelayMessage> newestSnapshot;
  std::multimap<std::string, ApprovalResultCommand> results;
  ScriptedServer server;  // Last: its threads use all of the above.
};

}  // namespace quillard::test
