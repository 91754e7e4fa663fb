#pragma once

#include <cstddef>
#include <deque>
#include <set>

#include "relay/SealedBox.h"

namespace quillard {

// The nonces of the boxes that were sealed or opened here, so that each box is opened once: a relay that cannot read a
// box could otherwise deliver it again under another name, or hand our own back to us. Bounded: the newest are kept.
// One thread at a time.
class SealedBoxMemory {
 public:
  static constexpr std::size_t kNoncesKept = 8192;

  // `capacity` is positive.
  explicit SealedBoxMemory(std::size_t capacity = kNoncesKept) : capacity(capacity) {}

  [[nodiscard]] bool knows(const Nonce& nonce) const { return known.contains(nonce); }

  // Forgets the oldest one when there are too many. A known nonce keeps its age. Only for boxes that are authentic:
  // anybody can make up others, and flood this memory with them.
  void remember(const Nonce& nonce);

 private:
  std::size_t capacity;
  std::set<Nonce> known;
  std::deque<Nonce> byAge;  // Oldest first; the same nonces.
};

}  // namespace quillard
