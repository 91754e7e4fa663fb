#pragma once

#include <functional>
#include <optional>
#include <string>

#include "approvals/PendingApproval.h"
#include "detection/DialogDetector.h"
#include "detection/ResolvedDialogButton.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/Workspace.h"
#include "values/Time.h"

namespace quillard {

// Finds the live button that the phone chose when its decision arrives, and brings its application and window to the
// front, so that the person at the computer sees what is pressed.
//
// Every operation waits for other processes. Any thread; two at a time do not disturb each other.
class DialogFocusResolver {
 public:
  // Sleeps. False when the search is not worth going on with, since it was stopped meanwhile.
  using Sleep = std::function<bool(Seconds)>;

  // All outlive the resolver. `detector` need not be the one that scans.
  DialogFocusResolver(DialogDetector& detector, platform::Accessibility& accessibility, platform::Workspace& workspace);

  // `focusApplication`, 0.2 s for the application to come, then `DialogDetector::resolve`; once more 0.25 s later when
  // the button is not there yet, since an application that comes to the front may be busy showing its windows. Not
  // found, too, when `sleep` was stopped.
  [[nodiscard]] PromptResolution focusAndResolve(const PendingApproval& approval, const std::string& buttonLabel,
                                                 const Sleep& sleep);

  // Asks the prompt's application to show itself and come to the front. Does nothing when it has ended; whether it came
  // shows only some time later.
  void focusApplication(const PendingApproval& approval);

  // The live button labelled exactly `buttonLabel`, in the window that the approval names, or that matches it best; the
  // window is restored and raised. Absent when there is none.
  [[nodiscard]] std::optional<ResolvedDialogButton> resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel);

 private:
  DialogDetector& detector;
  platform::Accessibility& accessibility;
  platform::Workspace& workspace;
};

}  // namespace quillard
