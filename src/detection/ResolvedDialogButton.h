#pragma once

#include "approvals/PendingApproval.h"
#include "platform/desktop/Accessibility.h"

namespace quillard {

// The button that a decision names, found again on the screen.
struct ResolvedDialogButton {
  DialogButton button;            // As it is now: label, role and frame.
  platform::AXUIElement element;  // The live button.
  platform::AXUIElement window;   // The window that holds it.
};

}  // namespace quillard
