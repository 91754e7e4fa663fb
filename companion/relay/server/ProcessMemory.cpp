#include "companion/relay/server/ProcessMemory.h"

#include <algorithm>
#include <chrono>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace quillard::relayserver {
namespace {

constexpr std::size_t kFew = 64;  // Not worth it.
constexpr std::chrono::seconds kInterval{5};

}  // namespace

void ProcessMemory::noteConnections(std::size_t connections, Instant now) {
  mostOpen = std::max(mostOpen, connections);
  if (mostOpen < kFew || connections > mostOpen / 2 || now < nextRelease) return;
  mostOpen = connections;
  nextRelease = now + kInterval;
  ++released;
#ifdef __GLIBC__
  ::malloc_trim(0);
#endif
}

}  // namespace quillard::relayserver
