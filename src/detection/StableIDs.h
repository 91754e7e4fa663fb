#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Uuid.h"
#include "platform/process/Random.h"

namespace quillard {

// Turns the text that identifies a prompt into its fingerprint: the same text gives the same identity for as long as
// this object lives.
//
// A fingerprint is SipHash of the text under a key that is drawn once. It is steady while the agent runs, and
// meaningless to anyone else and in another run: the text holds what a prompt says, and a plain hash would let whoever
// knows a fingerprint test guesses of it. The price is that nothing stored by fingerprint is found again after a
// restart, unless the key is stored with it.
//
// One for the whole process, shared by all detectors, or they would not recognise each other's prompts. Any thread.
class StableIDs {
 public:
  using Key = std::array<std::uint8_t, 16>;

  // Draws the key; `random` is not kept.
  explicit StableIDs(platform::Random& random);
  [[nodiscard]] Uuid stableID(std::string_view text) const;

  // Of earlier runs, some of whose fingerprints still mean something. Before anything else is asked.
  void setEarlierKeys(std::vector<Key> keys) { earlierKeys = std::move(keys); }
  // What the text's fingerprint was in those runs.
  [[nodiscard]] std::vector<Uuid> earlierIDs(std::string_view text) const;
  [[nodiscard]] const Key& ownKey() const { return key; }

 private:
  Key key;
  std::vector<Key> earlierKeys;
};

}  // namespace quillard
