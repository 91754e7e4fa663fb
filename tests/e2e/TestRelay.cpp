#include "e2e/TestRelay.h"

#include <stdexcept>
#include <variant>

#include "approvals/PendingApprovalJson.h"
#include "relay/RelayCrypto.h"

namespace quillard::test {

TestRelay::TestRelay() : server([this](ServerConnection& connection) { serve(connection); }) {}

void TestRelay::pairPhone(const Secret& secret) {
  const std::lock_guard lock(mutex);
  phonesSecret = secret;
  changed.notify_all();
}

void TestRelay::answerRegistrations(int status) {
  const std::lock_guard lock(mutex);
  registrationStatus = status;
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
    const auto text = newestSnapshot ? opened(newestSnapshot->encryptedApprovals) : std::nullopt;
    if (!text) return false;
    auto read = readPendingApprovals(*text);
    auto* approvals = std::get_if<std::vector<PendingApproval>>(&read);
    if (!approvals || !accepts(*approvals)) return false;
    list = std::move(*approvals);
    return true;
  };
  std::unique_lock lock(mutex);
  changed.wait_for(lock, deadline, isThere);
  return list;
}

std::string TestRelay::decide(const Uuid& approvalID, const std::string& buttonLabel) {
  std::string decisionID;
  {
    const std::lock_guard lock(mutex);
    decisionID = "decision-" + std::to_string(++decisions);
  }
  decideAgain(decisionID, approvalID, buttonLabel);
  return decisionID;
}

void TestRelay::decideAgain(const std::string& decisionID, const Uuid& approvalID, const std::string& buttonLabel) {
  const std::lock_guard lock(mutex);
  sendToAgent(toJson(ApprovalRequestRelayMessage{.decisionID = decisionID,
                                                 .encryptedRequest = sealed(toJson(ApprovalRequestCommand{
                                                     .approvalID = approvalID, .buttonLabel = buttonLabel}))}));
}

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
      .decisionID = "suppression-" + std::to_string(++decisions),
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
    connection.write("HTTP/1.1 " + std::to_string(registrationStatus) +
                     " Answer\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    return;
  }
  if (head.starts_with("GET /ws") && connection.acceptWebSocket(head)) talk(connection);
}

void TestRelay::talk(ServerConnection& connection) {
  connection.setTimeout(std::chrono::minutes(5));
  {
    const std::lock_guard lock(mutex);
    agent = &connection;
    ++connected;
    sendToAgent(toJson(PhoneStatusRelayMessage{
        .phoneConnected = true,
        .phoneCount = 1,
        .phones = std::vector{RelayPhoneStatus{.deviceID = "phone-1", .deviceName = "Test phone", .platform = {}}}}));
    changed.notify_all();
  }
  while (const auto frame = connection.readFrame()) {
    const std::lock_guard lock(mutex);
    if (frame->opcode == Opcode::ping) connection.sendFrame(Opcode::pong, frame->payload);
    if (frame->opcode == Opcode::text) take(frame->payload);
    if (frame->opcode == Opcode::close) break;
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
  }
  changed.notify_all();
}

void TestRelay::takeSnapshot(const MacSnapshotRelayMessage& message) {
  if (!firstSnapshot) firstSnapshot = std::chrono::steady_clock::now();
  newestSnapshot = message;
}

void TestRelay::takeResult(const ApprovalResultRelayMessage& message) {
  const auto text = opened(message.encryptedResult);
  if (!text) throw std::runtime_error("a result that the phone cannot read");
  results.emplace(message.decisionID, std::get<ApprovalResultCommand>(readRelayCommand<ApprovalResultCommand>(*text)));
}

void TestRelay::sendToAgent(const Json& message) {
  if (agent) agent->sendFrame(Opcode::text, jsonText(message).value());
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
