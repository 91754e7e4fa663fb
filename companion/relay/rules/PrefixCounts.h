#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "companion/relay/rules/PrefixBuckets.h"

namespace quillard::relayserver {

// How many connections there are of each prefix. A wider prefix may have four times as many as the one inside it.
class PrefixCounts {
 public:
  // `most`: of the narrowest prefix.
  explicit PrefixCounts(std::size_t most) : most(most) {}

  // Whether one more may be added. Always true where there are no prefixes.
  [[nodiscard]] bool hasRoom(const RatePrefixes& prefixes) const;
  void add(const RatePrefixes& prefixes);
  // Of those that were added.
  void remove(const RatePrefixes& prefixes);

 private:
  const std::size_t most;
  std::vector<std::unordered_map<std::string, std::size_t>> widths;  // By prefix, the narrowest width first.
};

}  // namespace quillard::relayserver
