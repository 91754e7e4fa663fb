#pragma once

#include <optional>
#include <string>

#include "approvals/PendingApproval.h"
#include "detection/DialogDetector.h"
#include "detection/ResolvedDialogButton.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/Workspace.h"

namespace quillard {

// Finds, at the moment when a decision arrives, the live button that the phone chose, and brings its application and
// window forward. Waits for other processes.
class DialogFocusResolver {
 public:
  // All outlive the resolver. `detector` need not be the one that scans.
  DialogFocusResolver(DialogDetector& detector, platform::Accessibility& accessibility, platform::Workspace& workspace);

  // Asks the prompt's application to show itself and come to the front. Nothing happens when it has gone; whether it
  // came shows only a moment later.
  void focusApplication(const PendingApproval& approval);

  // The live button labelled exactly `buttonLabel`, in the window that matches the approval best, which is restored and
  // raised. Absent when there is none.
  [[nodiscard]] std::optional<ResolvedDialogButton> resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel);

 private:
  DialogDetector& detector;
  platform::Accessibility& accessibility;
  platform::Workspace& workspace;
};

}  // namespace quillard
