#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "foundation/Uuid.h"
#include "platform/process/Random.h"

namespace quillard {

// Turns the text that identifies a prompt into its fingerprint: the same text, the same identity, for as long as this
// object lives. The key is drawn once, so fingerprints of one run tell nobody anything in another. One for the whole
// process, shared by all detectors, or they would not know each other's prompts. Any thread.
class StableIDs {
 public:
  explicit StableIDs(platform::Random& random);
  [[nodiscard]] Uuid stableID(std::string_view text) const;

 private:
  std::array<std::uint8_t, 16> key;
};

}  // namespace quillard
