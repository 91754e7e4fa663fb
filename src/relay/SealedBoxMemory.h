#pragma once

#include <cstddef>
#include <deque>
#include <set>

#include "relay/SealedBox.h"

namespace quillard {

// The nonces of the boxes that this agent sealed or opened: each sealed box is opened once.
//
// The relay cannot read a box, but without this memory it could deliver a phone's decision a second time under another
// `decisionID`, or return the agent's own result as a request. Nonces are enough, since a box under the same key and
// nonce is the same box. Bounded to the newest `kNoncesKept`, so an older box could be replayed; a decision that old
// names an approval that no longer exists. Not stored: a new run starts empty. One thread at a time.
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
