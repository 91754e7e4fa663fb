#include "approvals/SuppressionList.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "foundation/IsoDate.h"
#include "foundation/StrictJson.h"

namespace quillard {
namespace {

constexpr std::size_t kLongestText = 400;  // Bytes.
constexpr JsonLimits kLimits{.bytes = 16 * 1024, .depth = 2, .members = 16, .values = 32};

// A key is written as a UUID is.
std::string keyText(const FingerprintKey& key) { return Uuid(key).text(); }

std::string shortened(std::string text) {
  if (text.size() <= kLongestText) return text;
  auto end = kLongestText;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end) + "…";
}

std::chrono::milliseconds milliseconds(Seconds time) { return saturatingDuration<std::chrono::milliseconds>(time); }

}  // namespace

void SuppressionList::open(const FingerprintKey& wanted) {
  ownKey = wanted;
  store.forgetEarlierRuns();
  const auto stored = defaults.object(key);
  const auto* texts = stored ? std::get_if<std::vector<std::string>>(&*stored) : nullptr;
  if (!texts) return;
  for (const auto& text : *texts) {
    auto entry = readEntry(text);
    const bool isKnown = entry && store.contains(entry->suppression.id);
    if (!entry || isKnown || hasEnded(*entry) || entries.size() >= ApprovalSuppressionStore::kMost) continue;
    store.suppress(entry->suppression.id);
    entries.push_back(*std::move(entry));
  }
  hasBeenUsed = !texts->empty();
  forgetOldestKeys();
  save();
}

std::optional<SuppressionList::Entry> SuppressionList::readEntry(std::string_view text) const {
  const auto json = parseStrictJson(text, kLimits);
  if (std::holds_alternative<JsonError>(json)) return std::nullopt;
  JsonReader reader{std::get<Json>(json)};
  Entry entry{.suppression = {.id = reader.uuid("id"),
                              .kind = {.appName = reader.string("appName"),
                                       .windowTitle = reader.string("windowTitle"),
                                       .program = reader.optionalString("program").value_or("")},
                              .since = reader.date("since"),
                              .until = reader.optionalDate("until")}};
  if (const auto fingerprints = reader.optionalUuid("fingerprints")) entry.fingerprints = fingerprints->data();
  entry.endSince = reader.optionalDate("endSince");
  if (reader.error() || entry.fingerprints.has_value() == !entry.suppression.kind.program.empty()) return std::nullopt;
  const auto& [id, kind, since, until, endsWithRun] = entry.suppression;
  // Never longer than it was to last, whatever the clock shows by now.
  const Date chosen = entry.endSince.value_or(since);
  if (until) entry.endsAt = clock.continuousTime() + milliseconds(std::min(*until - clock.now(), *until - chosen));
  return entry;
}

bool SuppressionList::hasEnded(const Entry& entry) const {
  const auto& until = entry.suppression.until;
  return until && (clock.now() >= *until || clock.continuousTime() >= *entry.endsAt);
}

void SuppressionList::apply(Entry& entry, const SuppressionEnd& end) const {
  entry.suppression.until.reset();
  entry.endsAt.reset();
  entry.endSince.reset();
  entry.suppression.endsWithRun = end.withRun;
  if (!end.after) return;
  entry.endSince = clock.now();
  entry.suppression.until = advanced(clock.now(), *end.after);
  entry.endsAt = clock.continuousTime() + milliseconds(*end.after);
}

void SuppressionList::suppress(const Uuid& id, const SuppressedKind& kind, const SuppressionEnd& end) {
  const auto earlier =
      std::find_if(entries.begin(), entries.end(), [&](const Entry& one) { return one.suppression.id == id; });
  // What was made in another run is recognised by that run's fingerprints only.
  const auto fingerprints = earlier == entries.end() ? ownKey : earlier->fingerprints;
  if (earlier != entries.end()) entries.erase(earlier);
  Entry entry{.suppression = {.id = id,
                              .kind = {shortened(kind.appName), shortened(kind.windowTitle), kind.program},
                              .since = clock.now()}};
  if (kind.program.empty()) entry.fingerprints = fingerprints;
  apply(entry, end);
  entries.push_back(std::move(entry));
  store.suppress(id);
  std::erase_if(entries, [&](const Entry& one) { return !store.contains(one.suppression.id); });
  hasBeenUsed = true;
  save();
}

bool SuppressionList::unsuppress(const Uuid& id) {
  store.unsuppress(id);
  const auto count = std::erase_if(entries, [&](const Entry& one) { return one.suppression.id == id; });
  if (count > 0) save();
  return count > 0;
}

bool SuppressionList::setEnd(const Uuid& id, const SuppressionEnd& end) {
  const auto found =
      std::find_if(entries.begin(), entries.end(), [&](const Entry& one) { return one.suppression.id == id; });
  if (found == entries.end()) return false;
  apply(*found, end);
  save();
  return true;
}

std::vector<Suppression> SuppressionList::takeEnded() {
  std::vector<Suppression> ended;
  for (const auto& one : entries) {
    if (hasEnded(one)) ended.push_back(one.suppression);
  }
  for (const auto& one : ended) (void)unsuppress(one.id);
  return ended;
}

std::vector<Suppression> SuppressionList::all() const {
  std::vector<Suppression> list;
  for (auto one = entries.rbegin(); one != entries.rend(); ++one) list.push_back(one->suppression);
  return list;
}

std::vector<FingerprintKey> SuppressionList::earlierKeys() const {
  std::vector<FingerprintKey> keys;
  for (auto one = entries.rbegin(); one != entries.rend(); ++one) {
    const auto& used = one->fingerprints;
    if (used && *used != ownKey && std::find(keys.begin(), keys.end(), *used) == keys.end()) keys.push_back(*used);
  }
  return keys;
}

void SuppressionList::forgetOldestKeys() {
  auto keys = earlierKeys();
  if (keys.size() <= kMostKeys) return;
  keys.erase(keys.begin(), keys.begin() + kMostKeys);
  std::erase_if(entries, [&](const Entry& one) {
    const bool isOld = one.fingerprints && std::find(keys.begin(), keys.end(), *one.fingerprints) != keys.end();
    if (isOld) store.unsuppress(one.suppression.id);
    return isOld;
  });
}

void SuppressionList::save() const {
  std::vector<std::string> texts;
  for (const auto& [suppression, fingerprints, endSince, endsAt] : entries) {
    if (suppression.endsWithRun) continue;
    Json json{{"id", suppression.id.text()},
              {"appName", suppression.kind.appName},
              {"windowTitle", suppression.kind.windowTitle},
              {"since", isoDateText(suppression.since)}};
    if (fingerprints) json["fingerprints"] = keyText(*fingerprints);
    if (!suppression.kind.program.empty()) json["program"] = suppression.kind.program;
    if (suppression.until) json["until"] = isoDateText(*suppression.until);
    if (endSince) json["endSince"] = isoDateText(*endSince);
    texts.push_back(json.dump(-1, ' ', false, Json::error_handler_t::replace));
  }
  if (!texts.empty()) return defaults.set(key, std::move(texts));
  if (defaults.object(key)) defaults.remove(key);
}

}  // namespace quillard
