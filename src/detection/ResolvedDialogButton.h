#pragma once

#include <cstdint>
#include <optional>

#include "approvals/PendingApproval.h"
#include "platform/desktop/Accessibility.h"

namespace quillard {

// The one window that shows a prompt. A twin with the same content is another window.
struct PromptWindow {
  platform::AXUIElement element;  // As a scan lists it: the window itself, when the prompt is a sheet or dialog in it.
  // Which window of the window server's list it is, so that its end can be proved when its program falls silent.
  // Absent: it is not in that list, or cannot be told from another one there.
  std::optional<std::int64_t> number;
};

// The button that a decision names, found again on the screen.
struct ResolvedDialogButton {
  DialogButton button;            // As it is now: label, role and frame.
  platform::AXUIElement element;  // The live button.
  platform::AXUIElement window;   // The innermost window or sheet that holds it.
  PromptWindow promptWindow;      // The window in which the prompt was recognised: `window`, or the one around it.
};

}  // namespace quillard
