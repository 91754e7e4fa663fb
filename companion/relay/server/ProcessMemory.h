#pragma once

#include <cstddef>

#include "companion/relay/rules/RelayTime.h"

namespace quillard::relayserver {

// Releases memory to the system after many connections have ended: the allocator would keep it for the next ones.
class ProcessMemory {
 public:
  // `connections`: how many are open now. To be called a few times a second.
  void noteConnections(std::size_t connections, Instant now);
  [[nodiscard]] std::size_t timesReleased() const { return released; }

 private:
  std::size_t mostOpen = 0;  // Since memory was last released.
  Instant nextRelease{};
  std::size_t released = 0;
};

}  // namespace quillard::relayserver
