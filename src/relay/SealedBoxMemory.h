#pragma once

#include <cstddef>
#include <deque>
#include <set>

#include "relay/SealedBox.h"

namespace quillard {

// The nonces of boxes that this agent sealed, or of those that it opened: a box of its own is never opened, and one
// that is to be opened once is not opened again.
//
// The relay cannot read a box, but without this memory it could return the agent's own result as a request, or repeat
// what a phone has taken back since. Nonces are enough, since a box under the same key and nonce is the same box.
// Bounded to the newest `kNoncesKept`: an older box of the agent's own is told by what it holds, which no phone writes.
// Not stored: a new run starts empty. One thread at a time.
class SealedBoxMemory {
 public:
  static constexpr std::size_t kNoncesKept = 8192;

  // `capacity` is positive.
  explicit SealedBoxMemory(std::size_t capacity = kNoncesKept) : capacity(capacity) {}

  [[nodiscard]] bool knows(const Nonce& nonce) const { return known.contains(nonce); }

  // Forgets the oldest one when there are too many. A known nonce keeps its age. Only for authentic boxes: the
  // relay could fill this memory with made-up ones.
  void remember(const Nonce& nonce);

 private:
  std::size_t capacity;
  std::set<Nonce> known;
  std::deque<Nonce> byAge;  // Oldest first; the same nonces.
};

}  // namespace quillard
