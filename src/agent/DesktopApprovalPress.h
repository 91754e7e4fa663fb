#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "agent/ApprovalPress.h"
#include "click/ApprovalClicker.h"
#include "click/ClickExecutor.h"
#include "click/DialogFocusResolver.h"
#include "detection/DialogDetector.h"
#include "platform/desktop/Workspace.h"
#include "platform/process/Executors.h"

namespace quillard {

// What the press acts through. All of it outlives the press.
struct DesktopApprovalPressDependencies {
  std::function<DialogDetector&()> detector;  // Asked for at the first press; the same one each time.
  ClickDependencies click;
  platform::Workspace& workspace;
  platform::Executors& executors;
};

// Presses buttons of this desktop. Its parts, and the queue on which it presses, are made at the first press: most
// agents run for days without one.
class DesktopApprovalPress final : public ApprovalPress {
 public:
  explicit DesktopApprovalPress(DesktopApprovalPressDependencies dependencies);
  ~DesktopApprovalPress() override;

  std::optional<ClickError> begin(const PendingApproval& approval, const std::string& buttonLabel,
                                  Completion completion) override;
  void stop() override;

 private:
  DialogFocusResolver& focusResolver();
  ApprovalClicker& clicker();

  const DesktopApprovalPressDependencies dependencies;
  std::unique_ptr<DialogFocusResolver> madeFocusResolver;
  std::unique_ptr<ApprovalClicker> madeClicker;  // Uses the resolver.
};

}  // namespace quillard
