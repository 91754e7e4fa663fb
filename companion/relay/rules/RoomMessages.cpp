#include "companion/relay/rules/RoomMessages.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

#include "companion/relay/rules/RelayNames.h"
#include "foundation/BrokenPromise.h"
#include "foundation/IsoDate.h"
#include "foundation/JsonTokens.h"
#include "foundation/StrictJson.h"

namespace quillard::relayserver {
namespace {

constexpr std::size_t kLongestDate = 40;
constexpr std::size_t kLongestNonce = 64;
constexpr std::size_t kLongestSnapshotID = 128;
constexpr std::size_t kLongestNumber = 32;
constexpr std::int64_t kMostApprovals = 1'000'000;

// A member as it was found. A null is a missing member.
struct Value {
  enum class Kind { missing, string, number, truth, other };
  Kind kind = Kind::missing;
  std::string_view raw;
  bool isEscaped = false;
  bool isBase64 = false;
};

struct Payload {
  bool isThere = false;
  Value version;
  Value nonce;
  Value ciphertext;
};

// All members that some kind of message has. Of any other name: none.
struct Members {
  Value type, observedAt, accessibilityTrusted, approvalCount, snapshotID, decisionID, issuedAt, deviceID;
  Payload encryptedApprovals, encryptedState, encryptedClock, encryptedResult, encryptedRequest, encryptedSuppression;

  Value* value(std::string_view name) {
    if (name == "type") return &type;
    if (name == "observedAt") return &observedAt;
    if (name == "accessibilityTrusted") return &accessibilityTrusted;
    if (name == "approvalCount") return &approvalCount;
    if (name == "snapshotID") return &snapshotID;
    if (name == "decisionID") return &decisionID;
    if (name == "issuedAt") return &issuedAt;
    if (name == "deviceID") return &deviceID;
    return nullptr;
  }
  Payload* payload(std::string_view name) {
    if (name == "encryptedApprovals") return &encryptedApprovals;
    if (name == "encryptedState") return &encryptedState;
    if (name == "encryptedClock") return &encryptedClock;
    if (name == "encryptedResult") return &encryptedResult;
    if (name == "encryptedRequest") return &encryptedRequest;
    if (name == "encryptedSuppression") return &encryptedSuppression;
    return nullptr;
  }
};

// Goes through the text once and notes where the known members stand.
class MemberScan {
 public:
  MemberScan(std::string_view text, std::size_t longest)
      : tokens(text, {.bytes = longest,
                      .depth = kDeepestMessage,
                      .members = kMostMembersOfAMessage,
                      .values = kMostValuesOfAMessage}) {}

  // Absent: it is no JSON object, or one that goes beyond the limits.
  std::optional<Members> read() {
    if (tokens.next() != JsonToken::beginObject) return std::nullopt;
    Members members;
    readObject([&](std::string_view name) {
      if (Value* value = members.value(name)) {
        *value = readValue(tokens.next());
      } else if (Payload* payload = members.payload(name)) {
        readPayload(*payload);
      } else {
        readValue(tokens.next());
      }
    });
    if (tokens.next() != JsonToken::end) return std::nullopt;
    return members;
  }

 private:
  // The members of an object whose beginning was read. `readMember(name)` reads the member's value.
  template <class ReadMember>
  void readObject(ReadMember readMember) {
    while (tokens.next() == JsonToken::name) {
      const std::string unescaped = tokens.isEscaped() ? unescapedJson(tokens.raw()) : std::string();
      readMember(tokens.isEscaped() ? std::string_view(unescaped) : tokens.raw());
    }
  }

  void readPayload(Payload& payload) {
    const auto first = tokens.next();
    if (first != JsonToken::beginObject) {
      readValue(first);
      return;
    }
    payload.isThere = true;
    readObject([&](std::string_view name) {
      const Value value = readValue(tokens.next());
      if (name == "version") payload.version = value;
      if (name == "nonce") payload.nonce = value;
      if (name == "ciphertext") payload.ciphertext = value;
    });
  }

  // The value that begins with this token, to its end.
  Value readValue(JsonToken first) {
    switch (first) {
      case JsonToken::string:
        return {Value::Kind::string, tokens.raw(), tokens.isEscaped(), tokens.isBase64()};
      case JsonToken::number:
        return {Value::Kind::number, tokens.raw()};
      case JsonToken::literal:
        return {tokens.raw() == "null" ? Value::Kind::missing : Value::Kind::truth, tokens.raw()};
      default:
        skipRest(first);
        return {Value::Kind::other};
    }
  }

  void skipRest(JsonToken token) {
    for (std::size_t depth = 0; token != JsonToken::end && token != JsonToken::failed; token = tokens.next()) {
      if (token == JsonToken::beginObject || token == JsonToken::beginList) ++depth;
      if (token == JsonToken::endObject || token == JsonToken::endList) --depth;
      if (depth == 0) return;
    }
  }

  JsonTokens tokens;
};

// ---- What a member has to be

// The text of a string; absent: it is none. Texts without escapes, which is nearly all, are not copied.
class Text {
 public:
  explicit Text(const Value& value) : isThere(value.kind == Value::Kind::string), raw(value.raw) {
    if (!isThere || !value.isEscaped) return;
    unescaped = unescapedJson(value.raw);
    raw = unescaped;
  }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  [[nodiscard]] std::string_view view() const { return raw; }
  const bool isThere;

 private:
  std::string unescaped;
  std::string_view raw;
};

// Also when it is written as 412.0.
std::optional<std::int64_t> wholeNumber(const Value& value, std::int64_t lowest, std::int64_t highest) {
  if (value.kind != Value::Kind::number || value.raw.size() > kLongestNumber) return std::nullopt;
  const std::string digits(value.raw);
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc{} || end != digits.data() + digits.size()) {
    const double real = std::strtod(digits.c_str(), nullptr);
    constexpr double kExactWholeNumbers = 9007199254740992.0;  // 2^53
    if (std::trunc(real) != real || std::abs(real) > kExactWholeNumbers) return std::nullopt;
    number = static_cast<std::int64_t>(real);
  }
  if (number < lowest || number > highest) return std::nullopt;
  return number;
}

bool isPrintable(char c) { return c > ' ' && c < '\x7F'; }

// ---- The text that goes on

// Of what was read as UTF-8.
std::string messageText(const Json& json) {
  auto text = jsonText(json);
  if (!text) stopForBrokenPromise("What was read as UTF-8 can be written as such.");
  return std::move(*text);
}

// Writes known members one after another. One that breaks its rules spoils all of it.
class MessageWriter {
 public:
  MessageWriter(std::string_view type, std::size_t room) {
    text.reserve(room);
    text = "{\"type\":";
    quote(type);
  }

  void decisionID(const Value& value, std::string& name) {
    const Text given(value);
    require(given.isThere && isDeviceOrDecisionID(given.view()));
    name = given.view();
    member("decisionID", given.view());
  }
  void date(std::string_view name, const Value& value) {
    const Text given(value);
    require(given.isThere && given.view().size() <= kLongestDate && quillardISO8601(given.view()));
    member(name, given.view());
  }
  void boolean(std::string_view name, const Value& value) {
    require(value.kind == Value::Kind::truth);
    begin(name);
    text += value.raw;
  }
  void count(std::string_view name, const Value& value) { number(name, value, kMostApprovals); }
  void snapshotID(const Value& value) {
    const Text given(value);
    const auto id = given.view();
    require(given.isThere && id.size() <= kLongestSnapshotID && std::all_of(id.begin(), id.end(), isPrintable));
    member("snapshotID", id);
  }
  void payload(std::string_view name, const Payload& given) {
    require(given.isThere);
    begin(name);
    text += '{';
    isFirst = true;
    number("version", given.version, std::numeric_limits<std::int32_t>::max());
    base64("nonce", given.nonce, kLongestNonce);
    base64("ciphertext", given.ciphertext, std::numeric_limits<std::size_t>::max());
    text += '}';
  }

  // Absent: a member broke its rules.
  std::optional<std::string> finish() && {
    if (!isGood) return std::nullopt;
    text += '}';
    return std::move(text);
  }
  [[nodiscard]] std::size_t sealedBytes() const { return sealed; }

 private:
  void require(bool isFine) { isGood = isGood && isFine; }
  void begin(std::string_view name) {
    if (!std::exchange(isFirst, false)) text += ',';
    quote(name);
    text += ':';
  }
  void quote(std::string_view plain) { text.append("\"").append(plain).append("\""); }
  void member(std::string_view name, std::string_view value) {
    if (!isGood) return;
    begin(name);
    // Of what may stand here, these two alone have to be escaped.
    if (value.find_first_of("\"\\") == std::string_view::npos) {
      quote(value);
    } else {
      text += messageText(value);
    }
  }
  void number(std::string_view name, const Value& value, std::int64_t highest) {
    const auto given = wholeNumber(value, 0, highest);
    require(given.has_value());
    begin(name);
    text += std::to_string(given.value_or(0));
  }
  // The characters, not what they mean: the ends check that.
  void base64(std::string_view name, const Value& value, std::size_t longest) {
    const Text given(value);
    require(given.isThere && given.view().size() <= longest && (value.isBase64 || isBase64Text(given.view())));
    if (!isGood) return;
    begin(name);
    quote(given.view());
    if (value.isBase64) sealed += given.view().size();
  }

  std::string text;
  std::size_t sealed = 0;
  bool isFirst = false;
  bool isGood = true;
};

// More than the names of known members take, so that a text is made in one piece.
constexpr std::size_t kRoomForNames = 512;

// ---- The kinds

template <class Message>
std::variant<Message, MalformedMessage> finished(Message message, MessageWriter writer) {
  message.sealedBytes = writer.sealedBytes();
  auto text = std::move(writer).finish();
  if (!text) return MalformedMessage{};
  message.text = std::move(*text);
  return message;
}

auto readSnapshot(const Members& members, MessageWriter writer) {
  writer.date("observedAt", members.observedAt);
  writer.boolean("accessibilityTrusted", members.accessibilityTrusted);
  writer.payload("encryptedApprovals", members.encryptedApprovals);
  writer.count("approvalCount", members.approvalCount);
  writer.snapshotID(members.snapshotID);
  if (members.encryptedState.isThere) writer.payload("encryptedState", members.encryptedState);
  return finished(SnapshotMessage{}, std::move(writer));
}

auto readClock(const Members& members, MessageWriter writer) {
  writer.payload("encryptedClock", members.encryptedClock);
  return finished(ClockMessage{}, std::move(writer));
}

auto readResult(const Members& members, MessageWriter writer) {
  ResultMessage message;
  writer.decisionID(members.decisionID, message.decisionID);
  writer.payload("encryptedResult", members.encryptedResult);
  writer.date("issuedAt", members.issuedAt);
  return finished(std::move(message), std::move(writer));
}

std::variant<UnpairMessage, MalformedMessage> readUnpair(const Members& members, MessageWriter writer) {
  UnpairMessage message;
  writer.date("issuedAt", members.issuedAt);
  if (members.deviceID.kind != Value::Kind::missing) {
    const Text device(members.deviceID);
    if (!device.isThere || !isDeviceOrDecisionID(device.view())) return MalformedMessage{};
    message.deviceID = device.view();
  }
  if (!std::move(writer).finish()) return MalformedMessage{};
  return message;
}

template <class Message>
auto readFromPhone(Message message, const Members& members, std::string_view name, const Payload& sealed,
                   MessageWriter writer) {
  writer.decisionID(members.decisionID, message.decisionID);
  writer.payload(name, sealed);
  if (members.issuedAt.kind != Value::Kind::missing) writer.date("issuedAt", members.issuedAt);
  return finished(std::move(message), std::move(writer));
}

// The wider variant.
template <class To, class From>
To widened(From from) {
  return std::visit([](auto&& message) { return To(std::move(message)); }, std::move(from));
}

// `read(type, members, writer)` where the text is a message.
template <class Message, class Read>
Message readMessage(std::string_view text, std::size_t longest, Read read) {
  const auto members = MemberScan(text, longest).read();
  if (!members) return MalformedMessage{};
  const Text type(members->type);
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
  const auto read = [](std::string_view type, const Members& members, MessageWriter writer) -> AgentMessage {
    if (type == "mac.snapshot") return widened<AgentMessage>(readSnapshot(members, std::move(writer)));
    if (type == "mac.clock") return widened<AgentMessage>(readClock(members, std::move(writer)));
    if (type == "approval.result") return widened<AgentMessage>(readResult(members, std::move(writer)));
    if (type == "phone.unpair") return widened<AgentMessage>(readUnpair(members, std::move(writer)));
    return UnknownMessage{};
  };
  return readMessage<AgentMessage>(text, longest, read);
}

PhoneMessage readPhoneMessage(std::string_view text, std::size_t longest) {
  const auto read = [](std::string_view type, const Members& members, MessageWriter writer) -> PhoneMessage {
    if (type == "approval.request") {
      return widened<PhoneMessage>(
          readFromPhone(RequestMessage{}, members, "encryptedRequest", members.encryptedRequest, std::move(writer)));
    }
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
  }
  return messageText({{"type", "phone.status"},
                      {"phoneConnected", !phones.empty()},
                      {"phoneCount", phones.size()},
                      {"phones", std::move(list)}});
}

std::string macStatusText(bool isConnected, std::optional<long long> secondsSinceReceived) {
  Json json = {{"type", "mac.status"}, {"macConnected", isConnected}};
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
