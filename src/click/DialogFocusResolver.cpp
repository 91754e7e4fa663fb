#include "click/DialogFocusResolver.h"

namespace quillard {
namespace {

constexpr Seconds kFocusDelay{0.2};
constexpr Seconds kSecondSearchDelay{0.25};

}  // namespace

DialogFocusResolver::DialogFocusResolver(DialogDetector& detector, platform::Accessibility& accessibility,
                                         platform::Workspace& workspace)
    : detector(detector), accessibility(accessibility), workspace(workspace) {}

PromptResolution DialogFocusResolver::focusAndResolve(const PendingApproval& approval, const std::string& buttonLabel,
                                                      const Sleep& sleep) {
  focusApplication(approval);
  if (!sleep(kFocusDelay)) return {};
  auto resolution = detector.resolve(approval, buttonLabel);
  if (resolution.button || !sleep(kSecondSearchDelay)) return resolution;
  return detector.resolve(approval, buttonLabel);
}

void DialogFocusResolver::focusApplication(const PendingApproval& approval) {
  if (!workspace.runningApplication(approval.processIdentifier)) return;
  workspace.unhide(approval.processIdentifier);
  workspace.activate(approval.processIdentifier);
  const auto application = accessibility.createApplication(approval.processIdentifier);
  accessibility.setAttributeValue(application, platform::ax::kFrontmost, true);
}

std::optional<ResolvedDialogButton> DialogFocusResolver::resolveCurrentButton(const PendingApproval& approval,
                                                                              const std::string& buttonLabel) {
  return detector.resolveCurrentButton(approval, buttonLabel);
}

}  // namespace quillard
