#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "approvals/PendingApproval.h"
#include "contract/support/ScriptedServer.h"
#include "foundation/Uuid.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/ClockStamp.h"
#include "relay/RelayCommands.h"
#include "relay/RelayMessages.h"
#include "values/Secret.h"

namespace quillard::test {

enum class PhoneKind {
  current,  // Seals its name for a decision, and the time of the tap on the agent's clock.
  older,    // Knows of neither.
};

// A decision as a phone has sealed it: what a relay may deliver when, as often and under whatever name it likes.
struct SealedDecision {
  std::string decisionID;  // The phone's own name for it.
  EncryptedRelayPayload box;
};

// A relay for one agent with phones behind it, all fakes that the test controls: takes the agent's token, keeps its
// lists, and delivers what a phone sends, or something else. Any thread; every wait has a deadline of thirty seconds
// unless it says another.
class TestRelay {
 public:
  static constexpr int kAccepted = 0;  // In place of the status of a refusal.

  TestRelay();
  TestRelay(const TestRelay&) = delete;
  TestRelay& operator=(const TestRelay&) = delete;

  // What the agent is to be configured with.
  [[nodiscard]] std::string url() const { return server.url("ws"); }
  // What the phone learns from the pairing code. Until then it cannot read anything.
  void pairPhone(const Secret& secret);

  // The status codes of further registrations; 200 at first.
  void answerRegistrations(int status);
  // How often the agent has asked to be registered.
  [[nodiscard]] int registrations();
  // The status code that further WebSockets are refused with; `kAccepted` at first.
  void refuseConnections(int status);
  // How often that was done.
  [[nodiscard]] int refusals();
  // How many phones the agent is told of; one at first. Tells it.
  void setPhones(int count);
  [[nodiscard]] bool waitForConnection();
  // How often the agent has connected.
  [[nodiscard]] int connections();
  // When the agent's first list came, after this object was made.
  [[nodiscard]] std::optional<std::chrono::steady_clock::time_point> firstSnapshotAt();
  // Until the newest list of the agent is one that `accepts` likes. Absent: none was in time.
  [[nodiscard]] std::optional<std::vector<PendingApproval>> waitForList(
      const std::function<bool(const std::vector<PendingApproval>&)>& accepts,
      std::chrono::milliseconds deadline = std::chrono::seconds(30));

  // How many lists the agent has sent so far.
  [[nodiscard]] std::size_t listCount();
  // Those lists but the first `skipped` ones, oldest first.
  [[nodiscard]] std::vector<std::vector<PendingApproval>> listsAfter(std::size_t skipped);

  // The phone's tap on a button. Gives the decision's identifier.
  std::string decide(const Uuid& approvalID, const std::string& buttonLabel);
  // The same decision again, sealed anew.
  void decideAgain(const std::string& decisionID, const Uuid& approvalID, const std::string& buttonLabel);
  // The tap, which the relay has not delivered yet; `age`: how long ago it was.
  [[nodiscard]] SealedDecision seal(const Uuid& approvalID, const std::string& buttonLabel,
                                    std::chrono::milliseconds age = std::chrono::milliseconds(0));
  // The kind of phone that taps from now on; current ones at first. Those need a list with a prompt, or another sign of
  // the agent's clock, before they decide on anything.
  void usePhones(PhoneKind kind);
  // `outerID`: as what it is delivered; empty: as what it is.
  void deliver(const SealedDecision& decision, const std::string& outerID = {});
  [[nodiscard]] std::optional<ApprovalResultCommand> waitForResult(
      const std::string& decisionID, std::chrono::milliseconds deadline = std::chrono::seconds(30));
  // All results that came for the decision.
  [[nodiscard]] std::size_t resultCount(const std::string& decisionID);
  void suppress(const Uuid& suppressionID, std::string_view action);

  // Ends the agent's connection rudely; it may come back.
  void dropAgent();

 private:
  void serve(ServerConnection& connection);
  [[nodiscard]] bool isRefused(ServerConnection& connection);
  void talk(ServerConnection& connection);
  void take(const std::string& text);
  void takeSnapshot(const MacSnapshotRelayMessage& message);
  void takeResult(const ApprovalResultRelayMessage& message);
  void sendToAgent(const Json& message);
  void sendPhoneStatus();
  [[nodiscard]] std::string nextDecisionID();
  [[nodiscard]] SealedDecision sealAs(const std::string& decisionID, const Uuid& approvalID,
                                      const std::string& buttonLabel, std::chrono::milliseconds age);
  void takeClock(const MacClockRelayMessage& message);
  void learnTime(const std::optional<ClockStamp>& stamp);
  void learnTimeFrom(const MacSnapshotRelayMessage& snapshot);
  [[nodiscard]] ClockStamp agentTime(std::chrono::milliseconds age) const;
  [[nodiscard]] std::optional<std::vector<PendingApproval>> read(const MacSnapshotRelayMessage& snapshot);
  [[nodiscard]] EncryptedRelayPayload sealed(const Json& value);
  [[nodiscard]] std::optional<std::string> opened(const EncryptedRelayPayload& payload);

  std::mutex mutex;
  std::condition_variable changed;
  Secret phonesSecret;
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{42}};
  int registrationStatus = 200;
  int registered = 0;
  int connectionStatus = kAccepted;
  int refused = 0;
  int phones = 1;
  PhoneKind phoneKind = PhoneKind::current;
  // The agent's clock was at its time at this moment, or later: the best that the phones know.
  std::optional<std::pair<ClockStamp, std::chrono::steady_clock::time_point>> bestStamp;
  int decisions = 0;
  int connected = 0;
  ServerConnection* agent = nullptr;
  std::optional<std::chrono::steady_clock::time_point> firstSnapshot;
  std::vector<MacSnapshotRelayMessage> snapshots;  // Oldest first.
  std::multimap<std::string, ApprovalResultCommand> results;
  ScriptedServer server;  // Last: its threads use all of the above.
};

}  // namespace quillard::test
