#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "values/Geometry.h"

namespace quillard::platform {

enum class MouseEventType { moved, leftMouseDown, leftMouseUp };

// Keys by their meaning. Each binding knows their numbers on its system.
enum class KeyCode : std::uint8_t { returnKey, space, escape };

// An event that is made but not posted. Posting may be repeated.
class SyntheticEvent {
 public:
  SyntheticEvent() = default;
  SyntheticEvent(const SyntheticEvent&) = delete;
  SyntheticEvent& operator=(const SyntheticEvent&) = delete;
  virtual ~SyntheticEvent() = default;
};

// Input as if from mouse and keyboard. One thread at a time. A binding says in its header what each delivery means on
// its system. Events must come from this same object.
class SyntheticEvents {
 public:
  virtual ~SyntheticEvents() = default;

  // Empty when the event could not be created.
  [[nodiscard]] virtual std::unique_ptr<SyntheticEvent> createMouseEvent(MouseEventType type, Point position) = 0;
  [[nodiscard]] virtual std::unique_ptr<SyntheticEvent> createKeyboardEvent(KeyCode key, bool isDown) = 0;

  // To one process, whatever is in front: or the closest that the system offers. False: nothing was posted, and nothing
  // will be.
  virtual bool postToProcess(std::int32_t processIdentifier, const SyntheticEvent& event) = 0;
  // Where the hardware's events enter: whatever is in front, or under the point, gets it. `expectedOwner`: the process
  // whose window that should be; absent: unknown. A binding that can check it posts nothing to any other. False:
  // nothing was posted, and nothing will be.
  virtual bool postToDesktop(const SyntheticEvent& event, std::optional<std::int32_t> expectedOwner) = 0;
};

}  // namespace quillard::platform
