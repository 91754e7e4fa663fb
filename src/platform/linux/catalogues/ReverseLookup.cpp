#include "platform/linux/catalogues/ReverseLookup.h"

#include <algorithm>
#include <optional>

#include "platform/linux/catalogues/CatalogueMessage.h"
#include "platform/linux/catalogues/ComparableText.h"
#include "platform/linux/catalogues/MessagePattern.h"

namespace quillard::catalogues {

ReverseLookup::ReverseLookup(const std::vector<WantedText>& wanted) : wanted(wanted), sources(wanted.size()) {
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (wanted[i].text.empty()) continue;
    (wanted[i].isLine ? linePlaces : labelPlaces)[wanted[i].text].push_back(i);
    if (wanted[i].isLine) lines.push_back(i);
  }
}

std::size_t ReverseLookup::pass(std::string_view source, std::string_view translation) {
  const std::size_t cost = source.size() + translation.size() + 1;
  if (source.empty() || source.size() > kLongestMessage || translation.size() > kLongestMessage) return cost;
  makeComparable(translation, compared);
  addAll(labelPlaces, compared, source);
  if (lines.empty()) return cost;
  addAll(linePlaces, withoutNumbers(compared), source);
  return cost + passPattern(source);
}

void ReverseLookup::addAll(const Places& places, std::string_view shown, std::string_view source) {
  const auto place = places.find(shown);
  if (place == places.end()) return;
  for (const auto index : place->second) add(index, source);
}

std::size_t ReverseLookup::passPattern(std::string_view source) {
  constexpr std::size_t kSearches = 4;  // A part of a pattern may be found late, and all of them are looked for.
  const auto begin = compared.find_first_of("%{$");
  if (begin == std::string::npos) return 0;
  // Most messages are out by what stands before their first placeholder.
  auto head = withoutNumbers(std::string_view(compared).substr(0, begin));
  if (head.ends_with('0')) head.pop_back();  // See `leaveOutNumbers`.
  const bool mayMatch =
      std::any_of(lines.begin(), lines.end(), [&](std::size_t index) { return wanted[index].text.starts_with(head); });
  auto pattern = mayMatch ? MessagePattern::of(compared) : std::nullopt;
  std::size_t cost = lines.size();
  if (!pattern) return cost;
  pattern->leaveOutNumbers();
  for (const auto index : lines) {
    cost += kSearches * wanted[index].text.size();
    if (pattern->matches(wanted[index].text)) add(index, source);
  }
  return cost;
}

void ReverseLookup::add(std::size_t index, std::string_view source) {
  auto plain = plainSource(source);
  if (plain.empty()) return;
  auto& [counts, isCutOff] = sources[index];
  if (counts.size() >= kMostSources && !counts.contains(plain)) {
    isCutOff = true;
  } else {
    ++counts[std::move(plain)];
  }
}

}  // namespace quillard::catalogues
