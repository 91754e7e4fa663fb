#include "e2e/TestRelay.h"

#include <stdexcept>
#include <utility>
#include <variant>

#include "approvals/PendingApprovalJson.h"
#include "relay/RelayCrypto.h"
#include "relay/SnapshotRecords.h"

namespace quillard::test {

TestRelay::TestRelay() : server([this](ServerConnection& connection) { serve(connection); }) {}

void TestRelay::pairPhone(const Secret& secret) {
  const std::lock_guard lock(mutex);
  phonesSecret = secret;
  if (!snapshots.empty()) learnTimeFrom(snapshots.back());
  changed.notify_all();
}

void TestRelay::answerRegistrations(int status) {
  const std::lock_guard lock(mutex);
  registrationStatus = status;
}

int TestRelay::registrations() {
  const std::lock_guard lock(mutex);
  return registered;
}

void TestRelay::refuseConnections(int status) {
  const std::lock_guard lock(mutex);
  connectionStatus = status;
}

int TestRelay::refusals() {
  const std::lock_guard lock(mutex);
  return refused;
}

void TestRelay::setPhones(int count) {
  const std::lock_guard lock(mutex);
  phones = count;
  sendPhoneStatus();
}

bool TestRelay::waitForConnection() {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, std::chrono::seconds(30), [this] { return agent != nullptr; });
}

int TestRelay::connections() {
  const std::lock_guard lock(mutex);
  return connected;
}

std::optional<std::chrono::steady_clock::time_point> TestRelay::firstSnapshotAt() {
  std::unique_lock lock(mutex);
  changed.wait_for(lock, std::chrono::seconds(30), [this] { return firstSnapshot.has_value(); });
  return firstSnapshot;
}

std::optional<std::vector<PendingApproval>> TestRelay::waitForList(
    const std::function<bool(const std::vector<PendingApproval>&)>& accepts, std::chrono::milliseconds deadline) {
  std::optional<std::vector<PendingApproval>> list;
  const auto isThere = [&] {
    auto newest = snapshots.empty() ? std::nullopt : read(snapshots.back());
    if (!newest || !accepts(*newest)) return false;
    list = std::move(newest);
    return true;
  };
  std::unique_lock lock(mutex);
  changed.wait_for(lock, deadline, isThere);
  return list;
}

std::size_t TestRelay::listCount() {
  const std::lock_guard lock(mutex);
  return snapshots.size();
}

std::vector<std::vector<PendingApproval>> TestRelay::listsAfter(std::size_t skipped) {
  const std::lock_guard lock(mutex);
  std::vector<std::vector<PendingApproval>> lists;
  for (std::size_t i = skipped; i < snapshots.size(); ++i) {
    auto list = read(snapshots[i]);
    if (!list) throw std::runtime_error("a list that the phone cannot read");
    lists.push_back(std::move(*list));
  }
  return lists;
}

std::string TestRelay::decide(const Uuid& approvalID, const std::string& buttonLabel) {
  const auto decision = seal(approvalID, buttonLabel);
  deliver(decision);
  return decision.decisionID;
}

void TestRelay::decideAgain(const std::string& decisionID, const Uuid& approvalID, const std::string& buttonLabel) {
  SealedDecision decision;
  {
    const std::lock_guard lock(mutex);
    decision = sealAs(decisionID, approvalID, buttonLabel, std::chrono::milliseconds(0));
  }
  deliver(decision);
}

SealedDecision TestRelay::seal(const Uuid& approvalID, const std::string& buttonLabel, std::chrono::milliseconds age) {
  const std::lock_guard lock(mutex);
  return sealAs(nextDecisionID(), approvalID, buttonLabel, age);
}

void TestRelay::usePhones(PhoneKind kind) {
  const std::lock_guard lock(mutex);
  phoneKind = kind;
}

SealedDecision TestRelay::sealAs(const std::string& decisionID, const Uuid& approvalID, const std::string& buttonLabel,
                                 std::chrono::milliseconds age) {
  ApprovalRequestCommand command{.approvalID = approvalID, .buttonLabel = buttonLabel};
  if (phoneKind == PhoneKind::current) {
    command.decisionID = decisionID;
    command.tappedAt = agentTime(age);
  }
  return {.decisionID = decisionID, .box = sealed(toJson(command))};
}

ClockStamp TestRelay::agentTime(std::chrono::milliseconds age) const {
  if (!bestStamp) throw std::runtime_error("the agent has not told its time");
  const auto& [stamp, arrival] = *bestStamp;
  const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - arrival);
  return {.epoch = stamp.epoch, .time = stamp.time + since - age};
}

// What took longer on its way says less.
void TestRelay::learnTime(const std::optional<ClockStamp>& stamp) {
  if (!stamp) return;
  const bool isOfThisRun = bestStamp && bestStamp->first.epoch == stamp->epoch;
  if (isOfThisRun && stamp->time <= agentTime(std::chrono::milliseconds(0)).time) return;
  bestStamp = {*stamp, std::chrono::steady_clock::now()};
}

void TestRelay::learnTimeFrom(const MacSnapshotRelayMessage& snapshot) {
  const auto text = opened(snapshot.encryptedApprovals);
  if (text) learnTime(std::get<SnapshotMarks>(readSnapshotMarks(*text)).clock);
}

void TestRelay::deliver(const SealedDecision& decision, const std::string& outerID) {
  const std::lock_guard lock(mutex);
  sendToAgent(toJson(ApprovalRequestRelayMessage{.decisionID = outerID.empty() ? decision.decisionID : outerID,
                                                 .encryptedRequest = decision.box}));
}

std::string TestRelay::nextDecisionID() { return "decision-" + std::to_string(++decisions); }

std::optional<ApprovalResultCommand> TestRelay::waitForResult(const std::string& decisionID,
                                                              std::chrono::milliseconds deadline) {
  std::unique_lock lock(mutex);
  if (!changed.wait_for(lock, deadline, [&] { return results.contains(decisionID); })) return std::nullopt;
  return results.find(decisionID)->second;
}

std::size_t TestRelay::resultCount(const std::string& decisionID) {
  const std::lock_guard lock(mutex);
  return results.count(decisionID);
}

void TestRelay::suppress(const Uuid& suppressionID, std::string_view action) {
  const std::lock_guard lock(mutex);
  sendToAgent(toJson(ApprovalSuppressionRelayMessage{
      .type = std::string(action == kSuppressAction ? kSuppressType : kUnsuppressType),
      .decisionID = nextDecisionID(),
      .encryptedSuppression = sealed(toJson(ApprovalSuppressionCommand{
          .action = std::string(action), .approvalID = {}, .suppressionID = suppressionID}))}));
}

void TestRelay::dropAgent() {
  const std::lock_guard lock(mutex);
  if (agent) agent->interrupt();
}

void TestRelay::serve(ServerConnection& connection) {
  const std::string head = connection.readHead();
  if (head.starts_with("PUT /api/pairings/")) {
    (void)connection.readBytes(28);  // {"client":"mac","version":1}
    const std::lock_guard lock(mutex);
    ++registered;
    connection.write("HTTP/1.1 " + std::to_string(registrationStatus) +
                     " Answer\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    return;
  }
  if (!head.starts_with("GET /ws") || isRefused(connection)) return;
  if (connection.acceptWebSocket(head)) talk(connection);
}

bool TestRelay::isRefused(ServerConnection& connection) {
  const std::lock_guard lock(mutex);
  if (connectionStatus == kAccepted) return false;
  ++refused;
  connection.write("HTTP/1.1 " + std::to_string(connectionStatus) +
                   " Refused\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
  return true;
}

void TestRelay::talk(ServerConnection& connection) {
  connection.setTimeout(std::chrono::minutes(5));
  {
    const std::lock_guard lock(mutex);
    agent = &connection;
    ++connected;
    sendPhoneStatus();
    changed.notify_all();
  }
  std::string message;
  while (const auto frame = connection.readFrame()) {
    const std::lock_guard lock(mutex);
    if (frame->opcode == Opcode::ping) connection.sendFrame(Opcode::pong, frame->payload);
    if (frame->opcode == Opcode::close) break;
    if (frame->opcode != Opcode::text && frame->opcode != Opcode::continuation) continue;
    message += frame->payload;
    if (frame->isLast) take(std::exchange(message, {}));
  }
  const std::lock_guard lock(mutex);
  if (agent == &connection) agent = nullptr;
  changed.notify_all();
}

void TestRelay::take(const std::string& text) {
  const auto probe = readRelayRecord<RelayMessageTypeProbe>(text);
  const auto* typed = std::get_if<RelayMessageTypeProbe>(&probe);
  if (!typed) throw std::runtime_error("the agent sent no message: " + text);
  if (typed->type == kMacSnapshotType) {
    takeSnapshot(std::get<MacSnapshotRelayMessage>(readRelayRecord<MacSnapshotRelayMessage>(text)));
  } else if (typed->type == kApprovalResultType) {
    takeResult(std::get<ApprovalResultRelayMessage>(readRelayRecord<ApprovalResultRelayMessage>(text)));
  } else if (typed->type == kMacClockType) {
    takeClock(std::get<MacClockRelayMessage>(readRelayRecord<MacClockRelayMessage>(text)));
  }
  changed.notify_all();
}

void TestRelay::takeSnapshot(const MacSnapshotRelayMessage& message) {
  if (!firstSnapshot) firstSnapshot = std::chrono::steady_clock::now();
  snapshots.push_back(message);
  learnTimeFrom(message);
}

void TestRelay::takeClock(const MacClockRelayMessage& message) {
  const auto text = opened(message.encryptedClock);
  if (text) learnTime(std::get<ClockCommand>(readRelayCommand<ClockCommand>(*text)).clock);
}

void TestRelay::takeResult(const ApprovalResultRelayMessage& message) {
  const auto text = opened(message.encryptedResult);
  if (!text) throw std::runtime_error("a result that the phone cannot read");
  const auto result = std::get<ApprovalResultCommand>(readRelayCommand<ApprovalResultCommand>(*text));
  learnTime(result.clock);
  results.emplace(message.decisionID, result);
}

void TestRelay::sendPhoneStatus() {
  std::vector<RelayPhoneStatus> connectedPhones;
  for (int number = 1; number <= phones; ++number) {
    connectedPhones.push_back(
        {.deviceID = "phone-" + std::to_string(number), .deviceName = "Test phone", .platform = {}});
  }
  sendToAgent(
      toJson(PhoneStatusRelayMessage{.phoneConnected = phones > 0, .phoneCount = phones, .phones = connectedPhones}));
}

void TestRelay::sendToAgent(const Json& message) {
  if (agent) agent->sendFrame(Opcode::text, jsonText(message).value());
}

std::optional<std::vector<PendingApproval>> TestRelay::read(const MacSnapshotRelayMessage& snapshot) {
  const auto text = opened(snapshot.encryptedApprovals);
  if (!text) return std::nullopt;
  auto approvals = readPendingApprovals(*text);
  if (auto* list = std::get_if<std::vector<PendingApproval>>(&approvals)) return std::move(*list);
  return std::nullopt;
}

EncryptedRelayPayload TestRelay::sealed(const Json& value) {
  return std::get<EncryptedRelayPayload>(RelayCrypto::seal(value, phonesSecret, random));
}

std::optional<std::string> TestRelay::opened(const EncryptedRelayPayload& payload) {
  auto text = RelayCrypto::open(payload, phonesSecret);
  if (auto* plain = std::get_if<std::string>(&text)) return std::move(*plain);
  return std::nullopt;
}

}  // namespace quillard::test
