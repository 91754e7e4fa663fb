#include "agent/DesktopApprovalPress.h"

#include <utility>

namespace quillard {

DesktopApprovalPress::DesktopApprovalPress(DesktopApprovalPressDependencies dependencies)
    : dependencies(std::move(dependencies)) {}

DesktopApprovalPress::~DesktopApprovalPress() = default;

std::optional<ClickError> DesktopApprovalPress::begin(const PendingApproval& approval, const std::string& buttonLabel,
                                                      Completion completion) {
  const auto resolution = clicker().focusAndResolve(approval, buttonLabel);
  using Outcome = PromptResolution::Outcome;
  if (resolution.outcome == Outcome::requiresDirectAccess) return ClickError::requiresDirectAccess;
  if (resolution.outcome == Outcome::unknown) return ClickError::promptNotReadable;
  if (!resolution.button) return ClickError::buttonNotFound;
  clicker().click(approval, buttonLabel, *resolution.button, std::move(completion));
  return std::nullopt;
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
