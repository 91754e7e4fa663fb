#include "companion/relay/rules/MemoryBudget.h"

#include <utility>

namespace quillard::relayserver {

MessageText MemoryBudget::hold(std::string text) {
  struct Held {
    Held(std::string given, std::shared_ptr<Count> counted) : text(std::move(given)), count(std::move(counted)) {
      count->used += text.size();
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() { count->used -= text.size(); }
    const std::string text;
    const std::shared_ptr<Count> count;
  };
  const auto held = std::make_shared<const Held>(std::move(text), count);
  return {held, &held->text};
}

}  // namespace quillard::relayserver
