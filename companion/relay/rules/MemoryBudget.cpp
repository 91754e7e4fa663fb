#include "companion/relay/rules/MemoryBudget.h"

namespace quillard::relayserver {

MessageText MemoryBudget::hold(std::string text) {
  const std::size_t bytes = text.capacity();
  return keep(std::move(text), bytes);
}

}  // namespace quillard::relayserver
