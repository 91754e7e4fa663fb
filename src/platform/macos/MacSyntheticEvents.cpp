#include "platform/macos/MacSyntheticEvents.h"

#include <utility>

namespace quillard::macos {
namespace {

using platform::MouseEventType;
using platform::SyntheticEvent;

class MacEvent final : public SyntheticEvent {
 public:
  explicit MacEvent(CFHandle<CGEventRef> event) : event(std::move(event)) {}
  [[nodiscard]] CGEventRef get() const { return event.get(); }

 private:
  const CFHandle<CGEventRef> event;
};

std::unique_ptr<SyntheticEvent> madeOf(CFHandle<CGEventRef> event) {
  if (!event) return nullptr;
  return std::make_unique<MacEvent>(std::move(event));
}

CGEventType systemType(MouseEventType type) {
  switch (type) {
    case MouseEventType::leftMouseDown:
      return kCGEventLeftMouseDown;
    case MouseEventType::leftMouseUp:
      return kCGEventLeftMouseUp;
    default:
      return kCGEventMouseMoved;
  }
}

// The numbers of places on a keyboard of this system, whatever is printed there.
CGKeyCode systemKey(platform::KeyCode key) {
  constexpr CGKeyCode kReturn = 36;
  constexpr CGKeyCode kSpace = 49;
  constexpr CGKeyCode kEscape = 53;
  switch (key) {
    case platform::KeyCode::returnKey:
      return kReturn;
    case platform::KeyCode::space:
      return kSpace;
    case platform::KeyCode::escape:
      break;
  }
  return kEscape;
}

// Null for an event of another binding.
CGEventRef systemEvent(const SyntheticEvent& event) {
  const auto* const own = dynamic_cast<const MacEvent*>(&event);
  return own ? own->get() : nullptr;
}

}  // namespace

MacSyntheticEvents::MacSyntheticEvents()
    : source(CFHandle<CGEventSourceRef>::adopt(CGEventSourceCreate(kCGEventSourceStateHIDSystemState))) {}

std::unique_ptr<SyntheticEvent> MacSyntheticEvents::createMouseEvent(MouseEventType type, Point position) {
  if (!source) return nullptr;
  const CGPoint point{position.x, position.y};
  return madeOf(
      CFHandle<CGEventRef>::adopt(CGEventCreateMouseEvent(source.get(), systemType(type), point, kCGMouseButtonLeft)));
}

std::unique_ptr<SyntheticEvent> MacSyntheticEvents::createKeyboardEvent(platform::KeyCode key, bool isDown) {
  if (!source) return nullptr;
  return madeOf(CFHandle<CGEventRef>::adopt(CGEventCreateKeyboardEvent(source.get(), systemKey(key), isDown)));
}

bool MacSyntheticEvents::postToProcess(std::int32_t processIdentifier, const SyntheticEvent& event) {
  const CGEventRef made = systemEvent(event);
  if (made) CGEventPostToPid(processIdentifier, made);
  return made != nullptr;
}

bool MacSyntheticEvents::postToDesktop(const SyntheticEvent& event, std::optional<std::int32_t> /*expectedOwner*/) {
  const CGEventRef made = systemEvent(event);
  if (made) CGEventPost(kCGHIDEventTap, made);
  return made != nullptr;
}

}  // namespace quillard::macos
