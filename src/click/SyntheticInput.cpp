#include "click/SyntheticInput.h"

#include <algorithm>

namespace quillard {

using platform::KeyCode;
using platform::MouseEventType;

namespace {

constexpr Seconds kPauseBetweenEvents{0.08};

}  // namespace

ClickProgress SyntheticInput::postClickAndWait(Point point, const std::vector<EventDelivery>& deliveries) {
  const auto make = [&] {
    Events made;
    for (const auto type : {MouseEventType::moved, MouseEventType::leftMouseDown, MouseEventType::leftMouseUp}) {
      made.push_back(events.createMouseEvent(type, point));
    }
    return made;
  };
  return postAndWait(make, deliveries);
}

ClickProgress SyntheticInput::postKeyAndWait(KeyCode keyCode, const std::vector<EventDelivery>& deliveries) {
  const auto make = [&] {
    Events made;
    for (const bool isDown : {true, false}) made.push_back(events.createKeyboardEvent(keyCode, isDown));
    return made;
  };
  return postAndWait(make, deliveries);
}

ClickProgress SyntheticInput::postAndWait(const std::function<Events()>& make,
                                          const std::vector<EventDelivery>& deliveries) {
  Events made;
  for (const auto& delivery : deliveries) {
    const auto blocker = delivery.blocker();
    if (blocker == ClickProgress::promptRemains) continue;
    if (blocker) return *blocker;
    if (made.empty()) made = make();
    const bool isComplete = std::all_of(made.begin(), made.end(), [](const Event& event) { return event != nullptr; });
    if (!isComplete) return ClickProgress::eventNotCreated;
    const auto progress = deliver(made, delivery);
    if (progress != ClickProgress::promptRemains) return progress;
  }
  return ClickProgress::promptRemains;
}

ClickProgress SyntheticInput::deliver(const Events& made, const EventDelivery& delivery) {
  for (auto event = made.begin(); event + 2 != made.end(); ++event) {
    post(*event, delivery);
    if (!watch.sleep(kPauseBetweenEvents)) return ClickProgress::stopped;
    if (const auto blocker = delivery.blocker()) return *blocker;  // Another window may have come up meanwhile.
  }
  hasPressedSomething = true;
  post(made[made.size() - 2], delivery);
  clock.sleep(kPauseBetweenEvents);
  post(made.back(), delivery);
  return watch.waitToClear(ClickExecutor::standardClearDelays);
}

void SyntheticInput::post(const Event& event, const EventDelivery& delivery) {
  if (delivery.processIdentifier) {
    events.postToProcess(*delivery.processIdentifier, *event);
  } else {
    events.postToHIDTap(*event);
  }
}

}  // namespace quillard
