#include "relay/PushMessages.h"

#include <algorithm>
#include <span>
#include <utility>

#include "foundation/StrictBase64.h"
#include "foundation/Text.h"
#include "foundation/UrlComponents.h"

namespace quillard {
namespace {

constexpr std::size_t kLongestName = 64;  // Of a phone and of a push.
constexpr std::size_t kSubscriptionID = 32;
constexpr std::size_t kLongestPage = 512;
constexpr std::size_t kLongestLanguage = 35;
constexpr std::size_t kLongestComputer = 100;
constexpr std::uint8_t kUncompressed = 4;

bool isWord(std::string_view text, std::size_t longest) {
  return !text.empty() && text.size() <= longest && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
  });
}

std::string readWord(JsonReader& reader, std::string_view name, std::size_t longest) {
  auto text = reader.string(name);
  if (!isWord(text, longest)) reader.failAt(name, "Expected a plain word.");
  return text;
}

PushSubscriptionRecord readRecord(JsonReader& reader) {
  PushSubscriptionRecord record{.deviceID = readWord(reader, "deviceID", kLongestName),
                                .subscriptionID = readWord(reader, "subscriptionID", kSubscriptionID)};
  record.encryptedSubscription = reader.object("encryptedSubscription", [](JsonReader& payload) {
    return EncryptedRelayPayload{payload.integer("version", INT64_MIN, INT64_MAX), payload.string("nonce"),
                                 payload.string("ciphertext")};
  });
  record.isRefused = reader.optionalBoolean("refused").value_or(false);
  return record;
}

std::optional<PushStatus> statusNamed(std::string_view name) {
  for (const auto status :
       {PushStatus::accepted, PushStatus::replaced, PushStatus::gone, PushStatus::refused, PushStatus::unreachable}) {
    if (nameOf(status) == name) return status;
  }
  return std::nullopt;
}

void wipeMember(Json& json, std::string_view name) {
  if (!json.is_object()) return;
  const auto found = json.find(name);
  if (found != json.end() && found->is_string()) wipe(found->get_ref<std::string&>());
}

// As many bytes as were asked for, whatever stands there.
std::vector<std::uint8_t> readBytes(JsonReader& reader, std::string_view name, std::string_view text,
                                    std::size_t length) {
  auto read = base64UrlBytes(text);
  if (read && read->size() == length) return *std::move(read);
  reader.failAt(name, "Expected " + std::to_string(length) + " bytes in base64url.");
  return std::vector<std::uint8_t>(length);
}

PushKeys readKeys(JsonReader& reader, std::string& keyText) {
  PushKeys keys;
  keyText = reader.string("p256dh");
  const auto point = readBytes(reader, "p256dh", keyText, PushKeys::kPoint);
  std::copy(point.begin(), point.end(), keys.p256dh.begin());
  if (keys.p256dh[0] != kUncompressed) reader.failAt("p256dh", "Expected an uncompressed point.");
  auto text = reader.string("auth");
  auto auth = readBytes(reader, "auth", text, PushKeys::kAuth);
  keys.auth = Secret{std::span<const std::uint8_t>{auth}};
  wipe(auth);
  wipe(text);
  return keys;
}

// A page that a notification leads to: of whom the phone trusts, so it is checked for its form alone.
bool isPage(const std::string& text) {
  const bool isPlain = std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7F'; });
  if (!isPlain || text.size() > kLongestPage || text.find('#') != std::string::npos) return false;
  const auto url = UrlComponents::parse(text);
  if (!url || !url->host || url->userInfo) return false;
  const auto scheme = url->lowercasedScheme();
  return scheme == "https" || (scheme == "http" && isThisComputer(*url->host));
}

std::string readShortText(JsonReader& reader, std::string_view name, std::size_t longest) {
  auto text = reader.optionalString(name).value_or("");
  if (text.size() > longest) reader.failAt(name, "The text is too long.");
  return text;
}

template <class Record>
std::variant<Record, JsonError> outcome(const JsonReader& reader, Record record) {
  if (reader.error()) return *reader.error();
  return record;
}

}  // namespace

std::string_view nameOf(PushStatus status) {
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

Json toJson(const PushSendRelayMessage& message) {
  return {{"type", std::string(kPushSendType)},
          {"pushID", message.pushID},
          {"deviceID", message.deviceID},
          {"subscriptionID", message.subscriptionID},
          {"body", message.body},
          {"ttl", message.ttl},
          {"urgency", "high"},
          {"topic", message.topic}};
}

std::variant<PushSubscriptionsRelayMessage, JsonError> readPushSubscriptions(const Json& json) {
  JsonReader reader{json};
  PushSubscriptionsRelayMessage message{.subscriptions = reader.objects("subscriptions", readRecord)};
  if (message.subscriptions.size() > kMostSubscriptions) message.subscriptions.resize(kMostSubscriptions);
  return outcome(reader, std::move(message));
}

std::variant<PushResultRelayMessage, JsonError> readPushResult(const Json& json) {
  JsonReader reader{json};
  PushResultRelayMessage message{.pushID = readWord(reader, "pushID", kLongestName),
                                 .deviceID = readWord(reader, "deviceID", kLongestName)};
  const auto status = statusNamed(reader.string("status"));
  if (!status) reader.failAt("status", "It is not known.");
  message.status = status.value_or(PushStatus::unreachable);
  message.reason = reader.optionalString("reason").value_or("");
  if (!isWord(message.reason, kLongestName)) message.reason.clear();
  return outcome(reader, std::move(message));
}

std::variant<SubscriptionCommand, JsonError> readSubscription(std::string_view text) {
  auto json = parseStrictJson(text);
  if (const auto* error = std::get_if<JsonError>(&json)) return *error;
  JsonReader reader{std::get<Json>(json)};
  SubscriptionCommand command{.deviceID = readWord(reader, "deviceID", kLongestName)};
  command.keys = readKeys(reader, command.keyText);
  wipeMember(std::get<Json>(json), "auth");
  command.page = reader.optionalString("page").value_or("");
  if (!command.page.empty() && !isPage(command.page)) reader.failAt("page", "Expected an address that can be opened.");
  // What is not known shows less.
  if (reader.optionalString("shows").value_or("prompt") != "prompt") command.content = PushContent::computer;
  command.language = languageOf(readShortText(reader, "language", kLongestLanguage));
  command.computer = readShortText(reader, "computer", kLongestComputer);
  command.sequence = reader.optionalInteger("sequence", 1, kLatestSequence).value_or(0);
  return outcome(reader, std::move(command));
}

}  // namespace quillard
