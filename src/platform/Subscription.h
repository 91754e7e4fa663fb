#pragma once

#include <memory>

namespace quillard::platform {

// Keeps a registration for events alive. Destroy it on the executor that the events are delivered on: nothing is
// delivered afterwards, not even what was already under way.
class Subscription {
 public:
  Subscription() = default;
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;
  virtual ~Subscription() = default;
};
using SubscriptionHandle = std::unique_ptr<Subscription>;

}  // namespace quillard::platform
