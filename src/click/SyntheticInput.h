#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "click/PromptWatch.h"
#include "platform/desktop/SyntheticEvents.h"
#include "platform/process/Clock.h"
#include "values/Geometry.h"

namespace quillard {

// Where events are posted, and whether they may be at this moment.
struct EventDelivery {
  std::optional<std::int32_t> processIdentifier{};  // Absent: to where the hardware's events enter.
  // Asked right before anything is pressed. Absent: nothing hinders it. `promptRemains`: this delivery is passed over.
  std::function<std::optional<ClickProgress>()> blocker;
};

// Clicks and types as a hand would, and waits for the prompt to go. What goes down always comes up again, also when the
// click is stopped in between.
class SyntheticInput {
 public:
  // All outlive this.
  SyntheticInput(platform::SyntheticEvents& events, platform::Clock& clock, const PromptWatch& watch)
      : events(events), clock(clock), watch(watch) {}

  // One delivery after the other, until the prompt is gone. All events are made before the first one is posted.
  ClickProgress postClickAndWait(Point point, const std::vector<EventDelivery>& deliveries);
  ClickProgress postKeyAndWait(platform::KeyCode keyCode, const std::vector<EventDelivery>& deliveries);

  // Whether a key or a mouse button went down.
  [[nodiscard]] bool hasPressed() const { return hasPressedSomething; }

 private:
  using Event = std::unique_ptr<platform::SyntheticEvent>;
  using Events = std::vector<Event>;  // What leads up to it, if anything; down; up.

  ClickProgress postAndWait(const std::function<Events()>& make, const std::vector<EventDelivery>& deliveries);
  ClickProgress deliver(const Events& made, const EventDelivery& delivery);
  void post(const Event& event, const EventDelivery& delivery);

  platform::SyntheticEvents& events;
  platform::Clock& clock;
  const PromptWatch& watch;
  bool hasPressedSomething = false;
};

}  // namespace quillard
