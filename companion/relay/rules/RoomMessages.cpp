#include "companion/relay/rules/RoomMessages.h"

#include <utility>

#include "companion/relay/rules/MessageMembers.h"
#include "companion/relay/rules/MessageWriter.h"
#include "companion/relay/rules/RelayNames.h"
#include "foundation/StrictJson.h"

namespace quillard::relayserver {
namespace {

// More than the names of known members take, so that a text is made in one piece.
constexpr std::size_t kRoomForNames = 512;

template <class Message>
std::variant<Message, MalformedMessage> finished(Message message, MessageWriter writer) {
  message.sealedBytes = writer.sealedBytes();
  auto text = std::move(writer).finish();
  if (!text) return MalformedMessage{};
  message.text = std::move(*text);
  return message;
}

auto readSnapshot(const MessageMembers& members, MessageWriter writer) {
  writer.date("observedAt", members.observedAt);
  writer.boolean("accessibilityTrusted", members.accessibilityTrusted);
  writer.payload("encryptedApprovals", members.encryptedApprovals);
  writer.count("approvalCount", members.approvalCount);
  writer.snapshotID(members.snapshotID);
  if (members.encryptedState.isThere) writer.payload("encryptedState", members.encryptedState);
  return finished(SnapshotMessage{}, std::move(writer));
}

auto readClock(const MessageMembers& members, MessageWriter writer) {
  writer.payload("encryptedClock", members.encryptedClock);
  return finished(ClockMessage{}, std::move(writer));
}

auto readResult(const MessageMembers& members, MessageWriter writer) {
  ResultMessage message;
  writer.decisionID(members.decisionID, message.decisionID);
  writer.payload("encryptedResult", members.encryptedResult);
  writer.date("issuedAt", members.issuedAt);
  return finished(std::move(message), std::move(writer));
}

std::variant<UnpairMessage, MalformedMessage> readUnpair(const MessageMembers& members, MessageWriter writer) {
  UnpairMessage message;
  writer.date("issuedAt", members.issuedAt);
  if (members.deviceID.kind != MemberValue::Kind::missing) {
    const MemberText device(members.deviceID);
    if (!device.isThere || !isDeviceOrDecisionID(device.view())) return MalformedMessage{};
    message.deviceID = device.view();
  }
  if (!std::move(writer).finish()) return MalformedMessage{};
  return message;
}

template <class Message>
auto readFromPhone(Message message, const MessageMembers& members, std::string_view name, const MemberPayload& sealed,
                   MessageWriter writer) {
  writer.decisionID(members.decisionID, message.decisionID);
  writer.payload(name, sealed);
  if (members.issuedAt.kind != MemberValue::Kind::missing) writer.date("issuedAt", members.issuedAt);
  return finished(std::move(message), std::move(writer));
}

PhoneMessage readAsleep(const MessageMembers& members) {
  if (members.asleep.kind != MemberValue::Kind::truth) return MalformedMessage{};
  return AsleepMessage{.isAsleep = members.asleep.raw == "true"};
}

// The wider variant.
template <class To, class From>
To widened(From from) {
  return std::visit([](auto&& message) { return To(std::forward<decltype(message)>(message)); }, std::move(from));
}

// `read(type, members, writer)` where the text is a message.
template <class Message, class Read>
Message readMessage(std::string_view text, std::size_t longest, Read read) {
  const auto members = readMembers(text, longest);
  if (!members) return MalformedMessage{};
  const MemberText type(members->type);
  if (!type.isThere) return MalformedMessage{};
  return read(type.view(), *members, MessageWriter(type.view(), text.size() + kRoomForNames));
}

Json describe(const PhoneDescription& phone) {
  Json json = {{"deviceID", phone.deviceID}, {"deviceName", phone.deviceName}};
  if (phone.platform) json["platform"] = *phone.platform;
  return json;
}

}  // namespace

AgentMessage readAgentMessage(std::string_view text, std::size_t longest) {
  const auto read = [](std::string_view type, const MessageMembers& members, MessageWriter writer) -> AgentMessage {
    if (type == "mac.snapshot") return widened<AgentMessage>(readSnapshot(members, std::move(writer)));
    if (type == "mac.clock") return widened<AgentMessage>(readClock(members, std::move(writer)));
    if (type == "approval.result") return widened<AgentMessage>(readResult(members, std::move(writer)));
    if (type == "phone.unpair") return widened<AgentMessage>(readUnpair(members, std::move(writer)));
    if (type == "push.send") return widened<AgentMessage>(readPushSend(members));
    return UnknownMessage{};
  };
  return readMessage<AgentMessage>(text, longest, read);
}

PhoneMessage readPhoneMessage(std::string_view text, std::size_t longest) {
  const auto read = [](std::string_view type, const MessageMembers& members, MessageWriter writer) -> PhoneMessage {
    if (type == "approval.request") {
      return widened<PhoneMessage>(
          readFromPhone(RequestMessage{}, members, "encryptedRequest", members.encryptedRequest, std::move(writer)));
    }
    if (type == "push.subscribe") return widened<PhoneMessage>(readPushSubscribe(members));
    if (type == "push.unsubscribe") return PushUnsubscribeMessage{};
    if (type == "phone.asleep") return readAsleep(members);
    for (const std::string_view known : {"approval.suppress", "approval.unsuppress"}) {
      if (type != known) continue;
      return widened<PhoneMessage>(readFromPhone(SuppressionMessage{.type = known}, members, "encryptedSuppression",
                                                 members.encryptedSuppression, std::move(writer)));
    }
    return UnknownMessage{};
  };
  return readMessage<PhoneMessage>(text, longest, read);
}

std::string phoneStatusText(const std::vector<PhoneDescription>& phones) {
  Json list = Json::array();
  for (const auto& phone : phones) {
    list.push_back(describe(phone));
    list.back()["connected"] = true;
    if (phone.isAsleep) list.back()["asleep"] = true;
  }
  return messageText({{"type", "phone.status"},
                      {"phoneConnected", !phones.empty()},
                      {"phoneCount", phones.size()},
                      {"phones", std::move(list)}});
}

std::string macStatusText(std::optional<std::uint64_t> connection, std::optional<long long> secondsSinceReceived) {
  Json json = {{"type", "mac.status"}, {"macConnected", connection.has_value()}};
  if (connection) json["macConnection"] = *connection;
  if (secondsSinceReceived) json["heardSecondsAgo"] = *secondsSinceReceived;
  return messageText(json);
}

std::string receiptText(const std::string& decisionID, std::optional<NotDelivered> reason) {
  Json json = {{"type", "relay.receipt"}, {"decisionID", decisionID}, {"delivered", !reason}};
  if (reason) json["reason"] = *reason == NotDelivered::macBusy ? "macBusy" : "macNotConnected";
  return messageText(json);
}

std::string resultText(ResultMessage message, const std::optional<PhoneDescription>& phone) {
  if (!phone) return std::move(message.text);
  message.text.pop_back();
  const Json json{{"deviceID", phone->deviceID}, {"deviceName", phone->deviceName}};
  return std::move(message.text) + ",\"phone\":" + messageText(json) + "}";
}

}  // namespace quillard::relayserver
