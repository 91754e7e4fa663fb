#include "companion/relay/rules/PrefixCounts.h"

#include <algorithm>

namespace quillard::relayserver {

bool PrefixCounts::hasRoom(const RatePrefixes& prefixes) const {
  std::size_t mostOfWidth = most;
  for (std::size_t i = 0; i < std::min(prefixes.size(), widths.size()); ++i) {
    const auto found = widths[i].find(prefixes[i]);
    if (found != widths[i].end() && found->second >= mostOfWidth) return false;
    mostOfWidth *= kShareOfWiderPrefix;
  }
  return prefixes.empty() || most > 0;
}

void PrefixCounts::add(const RatePrefixes& prefixes) {
  if (widths.size() < prefixes.size()) widths.resize(prefixes.size());
  for (std::size_t i = 0; i < prefixes.size(); ++i) ++widths[i][prefixes[i]];
}

void PrefixCounts::remove(const RatePrefixes& prefixes) {
  for (std::size_t i = 0; i < prefixes.size(); ++i) {
    const auto found = widths[i].find(prefixes[i]);
    if (--found->second == 0) widths[i].erase(found);
  }
}

}  // namespace quillard::relayserver
