#include "agent/DesktopApprovalPress.h"

#include <utility>

namespace quillard {

DesktopApprovalPress::DesktopApprovalPress(DesktopApprovalPressDependencies dependencies)
    : dependencies(std::move(dependencies)) {}

DesktopApprovalPress::~DesktopApprovalPress() = default;

bool DesktopApprovalPress::begin(const PendingApproval& approval, const std::string& buttonLabel,
                                 Completion completion) {
  const auto button = clicker().focusAndResolve(approval, buttonLabel);
  if (!button) return false;
  clicker().click(approval, buttonLabel, *button, std::move(completion));
  return true;
}

void DesktopApprovalPress::stop() {
  if (madeClicker) madeClicker->stop();
}

DialogFocusResolver& DesktopApprovalPress::focusResolver() {
  if (!madeFocusResolver) {
    madeFocusResolver = std::make_unique<DialogFocusResolver>(dependencies.detector(), dependencies.click.accessibility,
                                                              dependencies.workspace);
  }
  return *madeFocusResolver;
}

ApprovalClicker& DesktopApprovalPress::clicker() {
  if (!madeClicker) {
    madeClicker = std::make_unique<ApprovalClicker>(dependencies.detector(), focusResolver(), dependencies.click,
                                                    dependencies.executors);
  }
  return *madeClicker;
}

}  // namespace quillard
