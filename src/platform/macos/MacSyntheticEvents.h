#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <CoreGraphics/CoreGraphics.h>

#include "platform/desktop/SyntheticEvents.h"
#include "platform/macos/CFHandle.h"

namespace quillard::macos {

// Events of a source with the hardware's state, so that keys which somebody holds down count as held. To one process:
// its own queue, whatever is in front. The system drops events of a process that has no permission for accessibility,
// without saying so. At the desktop it goes to whatever is there: the expected owner is not checked.
class MacSyntheticEvents final : public platform::SyntheticEvents {
 public:
  MacSyntheticEvents();

  [[nodiscard]] std::unique_ptr<platform::SyntheticEvent> createMouseEvent(platform::MouseEventType type,
                                                                           Point position) override;
  [[nodiscard]] std::unique_ptr<platform::SyntheticEvent> createKeyboardEvent(platform::KeyCode key,
                                                                              bool isDown) override;
  bool postToProcess(std::int32_t processIdentifier, const platform::SyntheticEvent& event) override;
  bool postToDesktop(const platform::SyntheticEvent& event, std::optional<std::int32_t> expectedOwner) override;

 private:
  const CFHandle<CGEventSourceRef> source;  // Empty when the system gave none: no event can be created.
};

}  // namespace quillard::macos
