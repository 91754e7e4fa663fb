#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "foundation/Uuid.h"
#include "platform/process/Random.h"

namespace quillard {

// Turns the text that identifies a prompt into its fingerprint: the same text gives the same identity for as long as
// this object lives.
//
// A fingerprint is SipHash of the text under a key that is drawn once. It is steady while the agent runs, and
// meaningless to anyone else and in another run: the text holds what a prompt says, and a plain hash would let whoever
// knows a fingerprint test guesses of it. The price is that nothing stored by fingerprint is found again after a
// restart.
//
// One for the whole process, shared by all detectors, or they would not recognise each other's prompts. Any thread.
class StableIDs {
 public:
  // Draws the key; `random` is not kept.
  explicit StableIDs(platform::Random& random);
  [[nodiscard]] Uuid stableID(std::string_view text) const;

 private:
  std::array<std::uint8_t, 16> key;
};

}  // namespace quillard
