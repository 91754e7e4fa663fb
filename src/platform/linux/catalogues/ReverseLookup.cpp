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
    places[wanted[i].text].push_back(i);
    if (wanted[i].isLine) lines.push_back(i);
  }
}

void ReverseLookup::pass(std::string_view source, std::string_view translation) {
  if (source.empty() || source.size() > kLongestMessage || translation.size() > kLongestMessage) return;
  makeComparable(translation, compared);
  if (const auto place = places.find(compared); place != places.end()) {
    for (const auto index : place->second) add(index, source);
  }
  if (!lines.empty()) passPattern(source);
}

void ReverseLookup::passPattern(std::string_view source) {
  const auto begin = compared.find_first_of("%{$");
  if (begin == std::string::npos) return;
  // Most messages are out by what stands before their first placeholder.
  const auto head = std::string_view(compared).substr(0, begin);
  const bool mayMatch =
      std::any_of(lines.begin(), lines.end(), [&](std::size_t index) { return wanted[index].text.starts_with(head); });
  const auto pattern = mayMatch ? MessagePattern::of(compared) : std::nullopt;
  if (!pattern) return;
  for (const auto index : lines) {
    if (pattern->matches(wanted[index].text)) add(index, source);
  }
}

void ReverseLookup::add(std::size_t index, std::string_view source) {
  auto plain = plainSource(source);
  auto& found = sources[index];
  if (plain.empty() || (found.size() >= kMostSources && !found.contains(plain))) return;
  ++found[std::move(plain)];
}

}  // namespace quillard::catalogues
