#include "relay/SealedBoxMemory.h"

namespace quillard {

void SealedBoxMemory::remember(const Nonce& nonce) {
  if (!known.insert(nonce).second) return;
  byAge.push_back(nonce);
  if (byAge.size() <= capacity) return;
  known.erase(byAge.front());
  byAge.pop_front();
}

}  // namespace quillard
