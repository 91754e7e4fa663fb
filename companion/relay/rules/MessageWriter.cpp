#include "companion/relay/rules/MessageWriter.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "companion/relay/rules/RelayNames.h"
#include "foundation/BrokenPromise.h"
#include "foundation/IsoDate.h"
#include "foundation/JsonTokens.h"

namespace quillard::relayserver {
namespace {

constexpr std::size_t kLongestDate = 40;
constexpr std::size_t kLongestNonce = 64;
constexpr std::size_t kLongestSnapshotID = 128;
constexpr std::int64_t kMostApprovals = 1'000'000;

bool isPrintable(char c) { return c > ' ' && c < '\x7F'; }

}  // namespace

std::string messageText(const Json& json) {
  auto text = jsonText(json);
  if (!text) stopForBrokenPromise("What was read as UTF-8 can be written as such.");
  return std::move(*text);
}

MessageWriter::MessageWriter(std::string_view type, std::size_t room) {
  text.reserve(room);
  text = "{\"type\":";
  quote(type);
}

void MessageWriter::decisionID(const MemberValue& value, std::string& name) {
  const MemberText given(value);
  require(given.isThere && isDeviceOrDecisionID(given.view()));
  name = given.view();
  member("decisionID", given.view());
}

void MessageWriter::date(std::string_view name, const MemberValue& value) {
  const MemberText given(value);
  require(given.isThere && given.view().size() <= kLongestDate && quillardISO8601(given.view()));
  member(name, given.view());
}

void MessageWriter::boolean(std::string_view name, const MemberValue& value) {
  require(value.kind == MemberValue::Kind::truth);
  begin(name);
  text += value.raw;
}

void MessageWriter::count(std::string_view name, const MemberValue& value) { number(name, value, kMostApprovals); }

void MessageWriter::snapshotID(const MemberValue& value) {
  const MemberText given(value);
  const auto id = given.view();
  require(given.isThere && id.size() <= kLongestSnapshotID && std::all_of(id.begin(), id.end(), isPrintable));
  member("snapshotID", id);
}

void MessageWriter::payload(std::string_view name, const MemberPayload& given) {
  require(given.isThere);
  begin(name);
  text += '{';
  isFirst = true;
  number("version", given.version, std::numeric_limits<std::int32_t>::max());
  base64("nonce", given.nonce, kLongestNonce);
  base64("ciphertext", given.ciphertext, std::numeric_limits<std::size_t>::max());
  text += '}';
}

std::optional<std::string> MessageWriter::finish() && {
  if (!isGood) return std::nullopt;
  text += '}';
  return std::move(text);
}

void MessageWriter::begin(std::string_view name) {
  if (!std::exchange(isFirst, false)) text += ',';
  quote(name);
  text += ':';
}

void MessageWriter::quote(std::string_view plain) { text.append("\"").append(plain).append("\""); }
void MessageWriter::member(std::string_view name, std::string_view value) {
  if (!isGood) return;
  begin(name);
  // Of what may stand here, these two alone have to be escaped.
  if (value.find_first_of("\"\\") == std::string_view::npos) {
    quote(value);
  } else {
    text += messageText(value);
  }
}

void MessageWriter::number(std::string_view name, const MemberValue& value, std::int64_t highest) {
  const auto given = wholeNumber(value, 0, highest);
  require(given.has_value());
  begin(name);
  text += std::to_string(given.value_or(0));
}

// The characters, not what they mean: the ends check that.
void MessageWriter::base64(std::string_view name, const MemberValue& value, std::size_t longest) {
  const MemberText given(value);
  require(given.isThere && given.view().size() <= longest && (value.isBase64 || isBase64Text(given.view())));
  if (!isGood) return;
  begin(name);
  quote(given.view());
  if (value.isBase64) sealed += given.view().size();
}

}  // namespace quillard::relayserver
