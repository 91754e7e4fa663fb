#include "companion/relay/cluster/EtcdMessages.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "foundation/StrictJson.h"

namespace quillard::relayserver::etcd {
namespace {

constexpr JsonLimits kLimits{.bytes = kLongestAnswer, .depth = 16, .members = 64, .values = 4'000'000};
constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string encoded(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const auto byte = [&](std::size_t at) {
      return at < bytes.size() ? static_cast<unsigned>(static_cast<unsigned char>(bytes[at])) : 0U;
    };
    const unsigned group = byte(i) << 16U | byte(i + 1) << 8U | byte(i + 2);
    text += kDigits[group >> 18U & 63U];
    text += kDigits[group >> 12U & 63U];
    text += i + 1 < bytes.size() ? kDigits[group >> 6U & 63U] : '=';
    text += i + 2 < bytes.size() ? kDigits[group & 63U] : '=';
  }
  return text;
}

std::optional<std::string> decoded(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  while (!text.empty() && text.size() % 4 != 2 && text.back() == '=') text.remove_suffix(1);
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  unsigned group = 0;
  unsigned bits = 0;
  for (const char c : text) {
    const auto digit = kDigits.find(c);
    if (digit == std::string_view::npos) return std::nullopt;
    group = group << 6U | static_cast<unsigned>(digit);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes += static_cast<char>(group >> bits & 0xFFU);
  }
  return bytes;
}

// What follows everything that begins so.
std::string endOf(std::string begin) {
  begin.back() = static_cast<char>(begin.back() + 1);
  return begin;
}

// A number as the gateway writes it: in a text, or not at all.
std::optional<std::int64_t> readNumber(const Json& object, const char* name) {
  const auto found = object.find(name);
  if (found == object.end()) return 0;
  if (found->is_number_integer()) return found->get<std::int64_t>();
  if (!found->is_string()) return std::nullopt;
  const auto& digits = found->get_ref<const std::string&>();
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc{} || end != digits.data() + digits.size()) return std::nullopt;
  return number;
}

std::optional<std::string> readBytes(const Json& object, const char* name) {
  const auto found = object.find(name);
  if (found == object.end()) return "";
  return found->is_string() ? decoded(found->get_ref<const std::string&>()) : std::nullopt;
}

bool readFlag(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() && found->is_boolean() && found->get<bool>();
}

// Null: there is no such object.
const Json* objectIn(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() && found->is_object() ? &*found : nullptr;
}

// Empty where there is none. Absent: it is something else.
std::optional<std::vector<const Json*>> objectsIn(const Json& object, const char* name) {
  std::vector<const Json*> objects;
  const auto found = object.find(name);
  if (found == object.end()) return objects;
  if (!found->is_array()) return std::nullopt;
  for (const auto& element : *found) {
    if (!element.is_object()) return std::nullopt;
    objects.push_back(&element);
  }
  return objects;
}

std::optional<Json> readObject(std::string_view text) {
  auto parsed = parseStrictJson(text, kLimits);
  auto* json = std::get_if<Json>(&parsed);
  if (!json || !json->is_object()) return std::nullopt;
  return std::move(*json);
}

std::optional<Revision> revisionOf(const Json& answer) {
  const auto* header = objectIn(answer, "header");
  const auto revision = header ? readNumber(*header, "revision") : std::nullopt;
  return revision && *revision > 0 ? revision : std::nullopt;
}

// Absent: malformed, or not below the prefix.
std::optional<ClusterEntry> readEntry(const Json& json, const std::string& prefix) {
  const auto key = readBytes(json, "key");
  auto value = readBytes(json, "value");
  const auto modified = readNumber(json, "mod_revision");
  if (!key || !value || !modified || *modified <= 0 || !key->starts_with(prefix)) return std::nullopt;
  return ClusterEntry{key->substr(prefix.size()), std::move(*value), *modified};
}

bool readEntries(const Json& range, const std::string& prefix, std::vector<ClusterEntry>& entries) {
  const auto found = objectsIn(range, "kvs");
  if (!found) return false;
  for (const auto* json : *found) {
    auto entry = readEntry(*json, prefix);
    if (!entry) return false;
    entries.push_back(std::move(*entry));
  }
  return true;
}

Json conditionJson(const ClusterCondition& condition, const std::string& prefix) {
  Json json{{"key", encoded(prefix + condition.key)}, {"target", "MOD"}};
  const bool isAnyRevision = condition.kind == ClusterCondition::Kind::isThere;
  const Revision modified = condition.kind == ClusterCondition::Kind::modifiedAt ? condition.modified : 0;
  json["result"] = isAnyRevision ? "GREATER" : "EQUAL";
  json["mod_revision"] = std::to_string(modified);
  return json;
}

Json changeJson(const ClusterChange& change, const std::string& prefix) {
  const std::string key = prefix + change.key;
  if (change.kind == ClusterChange::Kind::put) {
    Json put{{"key", encoded(key)}, {"value", encoded(change.value)}};
    if (change.lease != 0) put["lease"] = std::to_string(change.lease);
    return {{"request_put", put}};
  }
  Json erase{{"key", encoded(key)}};
  if (change.kind == ClusterChange::Kind::erasePrefix) erase["range_end"] = encoded(endOf(key));
  return {{"request_delete_range", erase}};
}

}  // namespace

std::string transactionText(const ClusterTransaction& transaction, const std::string& prefix) {
  Json conditions = Json::array();
  Json changes = Json::array();
  Json reads = Json::array();
  for (const auto& condition : transaction.conditions) conditions.push_back(conditionJson(condition, prefix));
  for (const auto& change : transaction.changes) changes.push_back(changeJson(change, prefix));
  for (const auto& key : transaction.reads) reads.push_back({{"request_range", {{"key", encoded(prefix + key)}}}});
  for (const auto& read : reads) changes.push_back(read);
  return Json{{"compare", conditions}, {"success", changes}, {"failure", reads}}.dump();
}

std::optional<ClusterTransactionResult> readTransaction(std::string_view text, const std::string& prefix) {
  const auto answer = readObject(text);
  const auto revision = answer ? revisionOf(*answer) : std::nullopt;
  const auto responses = answer ? objectsIn(*answer, "responses") : std::nullopt;
  if (!revision || !responses) return std::nullopt;
  ClusterTransactionResult result{.succeeded = readFlag(*answer, "succeeded"), .revision = *revision};
  for (const auto* response : *responses) {
    const auto* range = objectIn(*response, "response_range");
    if (range && !readEntries(*range, prefix, result.found)) return std::nullopt;
  }
  return result;
}

std::string rangeText(const std::string& prefix, const std::string& begin, const std::string& after, Revision revision,
                      int most) {
  const std::string from = after.empty() ? prefix + begin : prefix + after + std::string(1, '\0');
  return Json{{"key", encoded(from)},
              {"range_end", encoded(endOf(prefix + begin))},
              {"revision", std::to_string(revision)},
              {"limit", std::to_string(most)}}
      .dump();
}

std::optional<Range> readRange(std::string_view text, const std::string& prefix) {
  const auto answer = readObject(text);
  const auto revision = answer ? revisionOf(*answer) : std::nullopt;
  if (!revision) return std::nullopt;
  Range range{.reading = {.revision = *revision}, .hasMore = readFlag(*answer, "more")};
  if (!readEntries(*answer, prefix, range.reading.entries)) return std::nullopt;
  return range;
}

std::string takeLeaseText(int seconds) { return Json{{"TTL", std::to_string(seconds)}}.dump(); }

std::optional<LeaseNumber> readTakenLease(std::string_view text) {
  const auto answer = readObject(text);
  const auto number = answer ? readNumber(*answer, "ID") : std::nullopt;
  return number && *number != 0 ? number : std::nullopt;
}

std::string keepLeaseText(LeaseNumber lease) { return Json{{"ID", std::to_string(lease)}}.dump(); }

std::optional<bool> readKeptLease(std::string_view text) {
  const auto answer = readObject(text);
  const auto* result = answer ? objectIn(*answer, "result") : nullptr;
  if (!result || !objectIn(*result, "header")) return std::nullopt;
  const auto seconds = readNumber(*result, "TTL");
  if (!seconds) return std::nullopt;
  return *seconds > 0;
}

std::string watchText(const std::string& prefix, Revision first) {
  return Json{
      {"create_request",
       {{"key", encoded(prefix)}, {"range_end", encoded(endOf(prefix))}, {"start_revision", std::to_string(first)}}}}
      .dump();
}

WatchLine readWatchLine(std::string_view line, const std::string& prefix) {
  const auto answer = readObject(line);
  const auto* result = answer ? objectIn(*answer, "result") : nullptr;
  const auto found = result ? objectsIn(*result, "events") : std::nullopt;
  if (!found) return WatchEnded{};
  const auto compacted = readNumber(*result, "compact_revision");
  if (compacted && *compacted > 0) return WatchCompacted{};
  if (readFlag(*result, "canceled")) return WatchEnded{};
  std::vector<ClusterEvent> events;
  for (const auto* json : *found) {
    const auto* there = objectIn(*json, "kv");
    auto entry = there ? readEntry(*there, prefix) : std::nullopt;
    if (!entry) return WatchEnded{};
    const auto type = json->find("type");
    const bool isErased = type != json->end() && *type == "DELETE";
    events.push_back(
        {std::move(entry->key), isErased ? std::nullopt : std::optional(std::move(entry->value)), entry->modified});
  }
  return events;
}

std::string authenticationText(const std::string& user, const std::string& password) {
  return Json{{"name", user}, {"password", password}}.dump();
}

std::optional<std::string> readAuthentication(std::string_view text) {
  const auto answer = readObject(text);
  if (!answer) return std::nullopt;
  const auto token = answer->find("token");
  constexpr std::size_t kLongest = 4096;
  if (token == answer->end() || !token->is_string()) return std::nullopt;
  const auto& value = token->get_ref<const std::string&>();
  const bool isHeader = std::all_of(value.begin(), value.end(), [](char c) { return c > ' ' && c < '\x7F'; });
  if (value.empty() || value.size() > kLongest || !isHeader) return std::nullopt;
  return value;
}

std::string readError(std::string_view text) {
  constexpr std::size_t kLongest = 200;
  const auto answer = readObject(text);
  const auto found = answer ? answer->find("error") : Json::const_iterator();
  const bool isThere = answer && found != answer->end() && found->is_string();
  std::string error = isThere ? found->get<std::string>() : std::string(text.substr(0, kLongest));
  error.resize(std::min(error.size(), kLongest));
  for (char& c : error) {
    if (c < ' ' || c > '~') c = ' ';
  }
  return error;
}

bool isOfUsers(std::string_view text) {
  return text.find("invalid auth token") != std::string_view::npos ||
         text.find("revision of auth store is old") != std::string_view::npos;
}

}  // namespace quillard::relayserver::etcd
