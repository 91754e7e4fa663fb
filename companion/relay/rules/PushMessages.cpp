#include "companion/relay/rules/PushMessages.h"

#include <algorithm>
#include <array>
#include <utility>

#include "companion/relay/rules/MessageMembers.h"
#include "companion/relay/rules/MessageWriter.h"
#include "companion/relay/rules/RelayNames.h"
#include "companion/relay/rules/RoomMessages.h"
#include "foundation/StrictBase64.h"
#include "foundation/StrictJson.h"

namespace quillard::relayserver {
namespace {

constexpr std::size_t kLongestKey = 128;
constexpr std::size_t kSubscriptionID = 32;
constexpr std::size_t kLongestTopic = 32;
constexpr std::array<std::string_view, 4> kUrgencies{"very-low", "low", "normal", "high"};
constexpr std::string_view kSubscribe = "push.subscribe";

bool isPrintableText(std::string_view text, std::size_t longest) {
  return !text.empty() && text.size() <= longest &&
         std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7F'; });
}

bool isSubscriptionID(std::string_view text) {
  return text.size() == kSubscriptionID && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

bool isTopic(std::string_view text) {
  return !text.empty() && text.size() <= kLongestTopic && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
  });
}

}  // namespace

std::variant<PushSubscribeMessage, MalformedMessage> readPushSubscribe(const MessageMembers& members) {
  const MemberText endpoint(members.endpoint);
  const MemberText key(members.key);
  const bool isGood = endpoint.isThere && isPrintableText(endpoint.view(), kLongestPushEndpoint) && key.isThere &&
                      isPrintableText(key.view(), kLongestKey);
  if (!isGood) return MalformedMessage{};
  MessageWriter writer(kSubscribe, kLongestSealedSubscription);
  writer.payload("encryptedSubscription", members.encryptedSubscription);
  const std::size_t sealedBytes = writer.sealedBytes();
  const auto text = std::move(writer).finish();
  // Without the message's beginning and end, the one member is left.
  const std::size_t begin = std::string_view(R"({"type":"",)").size() + kSubscribe.size();
  if (!text || text->size() > begin + kLongestSealedSubscription) return MalformedMessage{};
  return PushSubscribeMessage{.endpoint = std::string(endpoint.view()),
                              .key = std::string(key.view()),
                              .sealed = text->substr(begin, text->size() - begin - 1),
                              .sealedBytes = sealedBytes};
}

std::variant<PushSendMessage, MalformedMessage> readPushSend(const MessageMembers& members) {
  const MemberText pushID(members.pushID);
  const MemberText deviceID(members.deviceID);
  const MemberText subscriptionID(members.subscriptionID);
  const MemberText urgency(members.urgency);
  const MemberText topic(members.topic);
  const MemberText body(members.body);
  const auto ttl = wholeNumber(members.ttl, 0, kLongestPushTtl);
  const bool hasTexts = pushID.isThere && deviceID.isThere && subscriptionID.isThere && urgency.isThere && body.isThere;
  const bool hasNames = isDeviceOrDecisionID(pushID.view()) && isDeviceOrDecisionID(deviceID.view()) &&
                        isSubscriptionID(subscriptionID.view());
  const bool isUrgency = std::find(kUrgencies.begin(), kUrgencies.end(), urgency.view()) != kUrgencies.end();
  const bool hasTopic = members.topic.kind != MemberValue::Kind::missing;
  if (!hasTexts || !hasNames || !isUrgency || !ttl) return MalformedMessage{};
  if (hasTopic && !(topic.isThere && isTopic(topic.view()))) return MalformedMessage{};
  constexpr std::size_t kLongestText = (kLongestPushBody + 2) / 3 * 4;
  const auto bytes = body.view().size() <= kLongestText ? base64Bytes(body.view()) : std::nullopt;
  if (!bytes || bytes->size() < kShortestPushBody || bytes->size() > kLongestPushBody) return MalformedMessage{};
  return PushSendMessage{.pushID = std::string(pushID.view()),
                         .deviceID = std::string(deviceID.view()),
                         .subscriptionID = std::string(subscriptionID.view()),
                         .body = std::string(bytes->begin(), bytes->end()),
                         .ttl = *ttl,
                         .urgency = std::string(urgency.view()),
                         .topic = std::string(topic.view()),
                         .sealedBytes = body.view().size()};
}

std::string pushSubscriptionText(std::optional<PushRefusal> refusal) {
  Json json{{"type", "push.subscription"}, {"subscribed", !refusal}};
  if (!refusal) return messageText(json);
  switch (*refusal) {
    case PushRefusal::expired:
      json["reason"] = "expired";
      break;
    case PushRefusal::subscribeAnew:
      json["reason"] = "subscribeAnew";
      break;
    case PushRefusal::otherKey:
      json["reason"] = "otherKey";
      break;
    case PushRefusal::endpointNotAllowed:
      json["reason"] = "endpointNotAllowed";
      break;
    case PushRefusal::unsubscribed:
      json["reason"] = "unsubscribed";
      break;
    case PushRefusal::notNow:
      json["reason"] = "notNow";
      break;
  }
  return messageText(json);
}

std::string_view pushStatusName(PushStatus status) {
  switch (status) {
    case PushStatus::accepted:
      return "accepted";
    case PushStatus::replaced:
      return "replaced";
    case PushStatus::gone:
      return "gone";
    case PushStatus::refused:
      return "refused";
    case PushStatus::unreachable:
      break;
  }
  return "unreachable";
}

std::string pushResultText(const std::string& pushID, const std::string& deviceID, PushStatus status,
                           std::string_view reason) {
  Json json{{"type", "push.result"},
            {"pushID", pushID},
            {"deviceID", deviceID},
            {"status", std::string(pushStatusName(status))}};
  if (!reason.empty()) json["reason"] = std::string(reason);
  return messageText(json);
}

}  // namespace quillard::relayserver
