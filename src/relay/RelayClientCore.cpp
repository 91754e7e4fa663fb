#include "relay/RelayClientCore.h"

#include <cstdint>
#include <utility>
#include <variant>

#include "foundation/IsoDate.h"
#include "foundation/PrintableText.h"
#include "relay/RelayCrypto.h"
#include "relay/SnapshotRecords.h"

namespace quillard {
namespace {

// No phone writes a longer one; each is kept for a while.
constexpr std::size_t kLongestDecisionID = 256;
constexpr std::string_view kUnableToDecode = "Unable to decode relay message: ";

std::string_view bytesOf(const platform::WebSocketMessage& message) {
  if (const auto* text = std::get_if<platform::TextMessage>(&message)) return text->text;
  const auto& bytes = std::get<platform::BinaryMessage>(message).bytes;
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string stateSignature(const ComputerState& state) {
  std::string signature;
  if (state.isPaused) signature = "+paused" + (state.pausedUntil ? isoDateText(*state.pausedUntil) : std::string{});
  if (state.grantsNeedVerification) signature += "+verified";
  if (state.revision > 0) signature += "+" + std::to_string(state.revision);
  return signature;
}

}  // namespace

std::string snapshotSignature(const std::vector<PendingApproval>& approvals, bool accessibilityTrusted) {
  return (accessibilityTrusted ? "ax1:" : "ax0:") + RelayCrypto::snapshotID(approvals);
}

RelayClientCore::RelayClientCore(RelayClientAccess access, RelayClientCallbacks callbacks,
                                 platform::SerialExecutor& queue, const RelayClientDependencies& dependencies)
    : callbacks(std::move(callbacks)),
      dependencies(dependencies),
      conversation(access.conversation
                       ? std::move(access.conversation)
                       : std::make_shared<SealedConversation>(std::move(access.cryptoSecret), dependencies.random)),
      connection(std::make_shared<RelayConnection>(std::move(access.url), std::move(access.relaySecret),
                                                   std::move(access.computerKey), queue, dependencies.webSockets,
                                                   dependencies.console, connectionEvents())) {}

// The connection is this object's own and calls on the queue only, where this object ends: it never calls too late.
RelayConnectionEvents RelayClientCore::connectionEvents() {
  return {.opened = [this] { opened(); },
          .lost = [this] { lost(); },
          .refused = [this](RelayRefusal refusal) { refused(refusal); },
          .received = [this](const platform::WebSocketMessage& message) { received(message); }};
}

void RelayClientCore::connect() { connection->connect(); }

void RelayClientCore::disconnect() { connection->disconnect(); }

// ---- Incoming

void RelayClientCore::opened() {
  outbox.forgetSent();
  reportConnected();
  sendLatestSnapshotIfNeeded();
}

void RelayClientCore::lost() {
  outbox.forgetSent();
  status = {};
  reportStatus();
}

void RelayClientCore::refused(RelayRefusal refusal) {
  if (!isRetired()) callbacks.onRefused(refusal);
}

void RelayClientCore::received(const platform::WebSocketMessage& message) {
  if (isRetired()) return;
  auto incoming = decodeIncomingRelayMessage(bytesOf(message));
  if (const auto* error = std::get_if<JsonError>(&incoming)) {
    print(kUnableToDecode, error->description());
  } else if (const auto* request = std::get_if<ApprovalRequestRelayMessage>(&incoming)) {
    receivedRequest(*request);
  } else if (const auto* suppression = std::get_if<ApprovalSuppressionRelayMessage>(&incoming)) {
    receivedSuppression(*suppression);
  } else if (auto* phones = std::get_if<PhoneStatusRelayMessage>(&incoming)) {
    receivedPhoneStatus(std::move(*phones));
  } else if (const auto* subscriptions = std::get_if<PushSubscriptionsRelayMessage>(&incoming)) {
    receivedSubscriptions(*subscriptions);
  } else if (const auto* result = std::get_if<PushResultRelayMessage>(&incoming)) {
    if (!isRetired()) callbacks.onPushResult(*result);
  }
}

// The name outside is the relay's word; the one inside is the phone's. Under another name the phone would not know its
// decision again, so there is no answer either.
void RelayClientCore::receivedRequest(const ApprovalRequestRelayMessage& message) {
  reportConnected();
  const auto box = conversation->open(message.encryptedRequest);
  auto command = readCommand<ApprovalRequestCommand>(box);
  if (!command || isRetired()) return;
  if (message.decisionID.size() > kLongestDecisionID ||
      command->decisionID.value_or(message.decisionID) != message.decisionID) {
    print(kUnableToDecode, "decisionID: It is too long, or another one than in the box.");
    return;
  }
  callbacks.onApprovalRequest(
      {message.decisionID, *std::move(command), message.issuedAt, std::get<OpenedBox>(box).boxID});
}

void RelayClientCore::receivedSuppression(const ApprovalSuppressionRelayMessage& message) {
  reportConnected();
  const auto command = readCommand<ApprovalSuppressionCommand>(conversation->openOnce(message.encryptedSuppression));
  if (command && !isRetired()) callbacks.onSuppressionCommand(*command);
}

void RelayClientCore::receivedPhoneStatus(PhoneStatusRelayMessage message) {
  status = {.relayConnected = true,
            .phoneConnected = message.phoneConnected,
            .phoneCount = message.phoneCount,
            .phones = std::move(message.phones).value_or(std::vector<RelayPhoneStatus>{})};
  reportStatus();
}

void RelayClientCore::receivedSubscriptions(const PushSubscriptionsRelayMessage& message) {
  std::vector<PhoneSubscription> all;
  for (const auto& record : message.subscriptions) {
    if (auto one = opened(record)) all.push_back(*std::move(one));
  }
  if (!isRetired()) callbacks.onPushSubscriptions(all);
}

// The relay repeats these boxes with each list, so one may be opened any number of times.
std::optional<PhoneSubscription> RelayClientCore::opened(const PushSubscriptionRecord& record) {
  auto box = conversation->open(record.encryptedSubscription);
  if (const auto* failure = std::get_if<SealingFailure>(&box)) {
    print(kUnableToDecode, failure->description);
    return std::nullopt;
  }
  auto command = readSubscription(std::get<OpenedBox>(box).plaintext);
  wipe(std::get<OpenedBox>(box).plaintext);
  if (const auto* error = std::get_if<JsonError>(&command)) {
    print(kUnableToDecode, error->description());
    return std::nullopt;
  }
  auto& subscription = std::get<SubscriptionCommand>(command);
  if (subscription.deviceID != record.deviceID) {
    print(kUnableToDecode, "deviceID: It is another one than in the box.");
    return std::nullopt;
  }
  return PhoneSubscription{
      .subscriptionID = record.subscriptionID, .command = std::move(subscription), .isRefused = record.isRefused};
}

template <class Command>
std::optional<Command> RelayClientCore::readCommand(const std::variant<OpenedBox, SealingFailure>& box) {
  if (const auto* failure = std::get_if<SealingFailure>(&box)) {
    print(kUnableToDecode, failure->description);
    return std::nullopt;
  }
  const auto command = readRelayCommand<Command>(std::get<OpenedBox>(box).plaintext);
  if (const auto* error = std::get_if<JsonError>(&command)) {
    print(kUnableToDecode, error->description());
    return std::nullopt;
  }
  return std::get<Command>(command);
}

// ---- Outgoing

void RelayClientCore::publishSnapshot(const SnapshotContents& contents, bool force) {
  const auto signature = contents.snapshotID + "+" + std::to_string(contents.leftOut) + stateSignature(contents.state);
  if (!outbox.holds(signature) && !holdSnapshot(contents, signature)) return;
  if (force) outbox.forgetSent();
  sendLatestSnapshotIfNeeded();
}

bool RelayClientCore::holdSnapshot(const SnapshotContents& contents, const std::string& signature) {
  const SnapshotMarks marks{.clock = dependencies.stampClock.now(), .leftOut = contents.leftOut};
  auto list = sealed(snapshotRecords(contents.approvals, marks), "snapshot");
  if (!list) return false;
  MacSnapshotRelayMessage message{.observedAt = dependencies.clock.now(),
                                  .accessibilityTrusted = contents.accessibilityTrusted,
                                  .encryptedApprovals = *std::move(list),
                                  .approvalCount = static_cast<std::int64_t>(contents.approvals.size()),
                                  .snapshotID = contents.snapshotID};
  if (!addState(contents.state, message)) return false;
  outbox.hold(std::move(message), signature);
  return true;
}

// Only where there is something to say.
bool RelayClientCore::addState(const ComputerState& state, MacSnapshotRelayMessage& message) {
  if (state.isPaused || state.grantsNeedVerification) {
    message.encryptedState = sealed(toJson(state), "state");
    return message.encryptedState.has_value();
  }
  if (!state.suppressions) return true;
  auto box = conversation->sealBeside(toJson(state), message.encryptedApprovals);
  if (const auto* failure = std::get_if<SealingFailure>(&box)) {
    print("Unable to encrypt relay " + std::string("state: "), failure->description);
    return false;
  }
  message.encryptedState = std::get<EncryptedRelayPayload>(std::move(box));
  return true;
}

// Absent, and printed with `what` it was, when it could not be sealed.
std::optional<EncryptedRelayPayload> RelayClientCore::sealed(const Json& content, std::string_view what) {
  auto box = conversation->seal(content);
  if (const auto* failure = std::get_if<SealingFailure>(&box)) {
    print("Unable to encrypt relay " + std::string(what) + ": ", failure->description);
    return std::nullopt;
  }
  return std::get<EncryptedRelayPayload>(std::move(box));
}

void RelayClientCore::publishClock(const MeetingReports& reports) {
  if (!connection->isOpen()) return;
  auto clock = sealed(toJson(ClockCommand{dependencies.stampClock.now(), reports}), "clock");
  if (clock) send(toJson(MacClockRelayMessage{.encryptedClock = *std::move(clock)}), [](bool) {});
}

void RelayClientCore::publishResult(const std::string& decisionID, const ApprovalResultCommand& result) {
  auto command = result;
  command.decisionID = decisionID;
  command.clock = dependencies.stampClock.now();
  auto box = sealed(toJson(command), "result");
  if (!box) return;
  const ApprovalResultRelayMessage message{
      .decisionID = decisionID, .encryptedResult = *std::move(box), .issuedAt = dependencies.clock.now()};
  send(toJson(message), [](bool) {});
}

void RelayClientCore::publishPush(const PushSendRelayMessage& push) {
  send(toJson(push), [](bool) {});
}

void RelayClientCore::unpairPhone(const std::optional<std::string>& deviceID,
                                  const std::function<void(bool)>& completion) {
  const UnpairPhoneRelayMessage message{.deviceID = deviceID, .issuedAt = dependencies.clock.now()};
  send(toJson(message), [weak = weak_from_this(), completion](bool wasSent) {
    const auto self = weak.lock();
    if (self && !self->isRetired()) completion(wasSent);
  });
}

void RelayClientCore::sendLatestSnapshotIfNeeded() {
  if (!connection->isOpen()) return;
  const auto sending = outbox.begin();
  if (!sending) return;
  send(toJson(outbox.snapshot()), [weak = weak_from_this(), sending = *sending](bool succeeded) {
    if (const auto self = weak.lock()) self->outbox.end(sending, succeeded);
  });
}

void RelayClientCore::send(const Json& message, std::function<void(bool)> completion) {
  if (!connection->isOpen()) {
    completion(false);
    return;
  }
  auto text = jsonText(message);
  if (!text) {
    print("Unable to encode relay message: ", "A text is not valid UTF-8.");
    completion(false);
    return;
  }
  connection->send(*std::move(text), std::move(completion));
}

// ---- Reports

void RelayClientCore::reportConnected() {
  status.relayConnected = true;
  reportStatus();
}

void RelayClientCore::reportStatus() {
  if (!isRetired()) callbacks.onStatusChange(status);
}

void RelayClientCore::print(std::string_view prefix, std::string_view description) {
  dependencies.console.writeLine(std::string(prefix) + printableText(description));
}

}  // namespace quillard
