#include "foundation/UserTexts.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace quillard {

namespace {

using Values = std::vector<std::string>;

// Which value stands at `at`: 0 is that of %1. Absent: none.
std::optional<std::size_t> placeAt(std::string_view pattern, std::size_t at) {
  if (pattern[at] != '%' || at + 1 >= pattern.size()) return std::nullopt;
  const char digit = pattern[at + 1];
  return digit >= '1' && digit <= '9' ? std::optional<std::size_t>(digit - '1') : std::nullopt;
}

std::string filled(std::string_view pattern, const Values& values) {
  std::string result;
  for (std::size_t at = 0; at < pattern.size(); ++at) {
    const auto place = placeAt(pattern, at);
    if (place && *place < values.size()) {
      result += values[*place];
      ++at;
    } else {
      result += pattern[at];
    }
  }
  return result;
}

// What `text` has in the places of `pattern`, each as short as what follows it allows. Absent: it is not made from it.
std::optional<Values> valuesIn(std::string_view text, std::string_view pattern) {
  Values values;
  std::optional<std::size_t> open;  // The place whose value has not ended yet.
  while (true) {
    std::size_t end = 0;
    while (end < pattern.size() && !placeAt(pattern, end)) ++end;
    const auto words = pattern.substr(0, end);
    const bool isLast = end == pattern.size();
    if (isLast && !text.ends_with(words)) return std::nullopt;
    const auto at = isLast ? text.size() - words.size() : text.find(words);
    if (at == std::string_view::npos || (!open && at != 0)) return std::nullopt;
    if (open) {
      values.resize(std::max(values.size(), *open + 1));
      values[*open] = text.substr(0, at);
    }
    if (isLast) return open ? std::optional(std::move(values)) : std::nullopt;
    text.remove_prefix(at + words.size());
    open = placeAt(pattern, end);
    pattern.remove_prefix(end + 2);
  }
}

}  // namespace

Language languageOf(std::string_view locale) {
  const auto code = locale.substr(0, locale.find_first_of("_.@-"));
  return code == "de" ? Language::german : Language::english;
}

std::string_view UserTexts::text(std::size_t row) const {
  const auto& [mac, computer, german] = kTextRows[row];
  if (language == Language::german) return german;
  return machine == Machine::mac || computer.empty() ? mac : computer;
}

std::string UserTexts::operator()(TextKey key, std::initializer_list<std::string_view> values) const {
  return filled(text(key.row), {values.begin(), values.end()});
}

std::optional<std::string> UserTexts::ofSentence(std::string_view mac) const {
  const auto* const found =
      std::find_if(std::begin(kTextRows), std::end(kTextRows), [mac](const TextRow& row) { return row.mac == mac; });
  if (found == std::end(kTextRows)) return std::nullopt;
  return std::string(text(static_cast<std::size_t>(found - std::begin(kTextRows))));
}

// Of several patterns, the one that leaves the least to values.
std::string UserTexts::ofOther(std::string_view mac) const {
  if (auto found = ofSentence(mac)) return *std::move(found);
  std::optional<Values> best;
  std::size_t bestRow = 0;
  for (std::size_t row = 0; row < std::size(kTextRows); ++row) {
    auto values = valuesIn(mac, kTextRows[row].mac);
    if (!values || (best && kTextRows[row].mac.size() <= kTextRows[bestRow].mac.size())) continue;
    best = std::move(values);
    bestRow = row;
  }
  if (!best) return std::string(mac);
  Values said;
  // A name that happens to be a word of the catalogue stays a name.
  for (const auto& value : *best) said.push_back(value.ends_with('.') ? ofSentence(value).value_or(value) : value);
  return filled(text(bestRow), said);
}

}  // namespace quillard
