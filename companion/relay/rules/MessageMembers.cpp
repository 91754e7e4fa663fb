#include "companion/relay/rules/MessageMembers.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

#include "companion/relay/rules/RoomMessages.h"
#include "foundation/JsonTokens.h"

namespace quillard::relayserver {
namespace {

constexpr std::size_t kLongestNumber = 32;

// Goes through the text once and notes where the known members stand.
class MemberScan {
 public:
  MemberScan(std::string_view text, std::size_t longest)
      : tokens(text, {.bytes = longest,
                      .depth = kDeepestMessage,
                      .members = kMostMembersOfAMessage,
                      .values = kMostValuesOfAMessage}) {}

  // Absent: it is no JSON object, or one that goes beyond the limits.
  std::optional<MessageMembers> read() {
    if (tokens.next() != JsonToken::beginObject) return std::nullopt;
    MessageMembers members;
    readObject([&](std::string_view name) {
      if (MemberValue* value = members.value(name)) {
        *value = readValue(tokens.next());
      } else if (MemberPayload* payload = members.payload(name)) {
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

  void readPayload(MemberPayload& payload) {
    const auto first = tokens.next();
    if (first != JsonToken::beginObject) {
      readValue(first);
      return;
    }
    payload.isThere = true;
    readObject([&](std::string_view name) {
      const MemberValue value = readValue(tokens.next());
      if (name == "version") payload.version = value;
      if (name == "nonce") payload.nonce = value;
      if (name == "ciphertext") payload.ciphertext = value;
    });
  }

  // The value that begins with this token, to its end.
  MemberValue readValue(JsonToken first) {
    switch (first) {
      case JsonToken::string:
        return {MemberValue::Kind::string, tokens.raw(), tokens.isEscaped(), tokens.isBase64()};
      case JsonToken::number:
        return {MemberValue::Kind::number, tokens.raw()};
      case JsonToken::literal:
        return {tokens.raw() == "null" ? MemberValue::Kind::missing : MemberValue::Kind::truth, tokens.raw()};
      default:
        skipRest(first);
        return {MemberValue::Kind::other};
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

}  // namespace

std::optional<MessageMembers> readMembers(std::string_view text, std::size_t longest) {
  return MemberScan(text, longest).read();
}

MemberText::MemberText(const MemberValue& value) : isThere(value.kind == MemberValue::Kind::string), raw(value.raw) {
  if (!isThere || !value.isEscaped) return;
  unescaped = unescapedJson(value.raw);
  raw = unescaped;
}

std::optional<std::int64_t> wholeNumber(const MemberValue& value, std::int64_t lowest, std::int64_t highest) {
  if (value.kind != MemberValue::Kind::number || value.raw.size() > kLongestNumber) return std::nullopt;
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

}  // namespace quillard::relayserver
