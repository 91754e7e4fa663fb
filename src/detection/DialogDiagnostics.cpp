#include "detection/DialogDiagnostics.h"

#include "detection/DialogPromptClassifier.h"
#include "detection/PromptReader.h"

namespace quillard {
namespace {

constexpr int kDiagnosticDescendantLimit = 120;

}  // namespace

std::optional<WindowDebugSnapshot> DialogDiagnostics::snapshotOf(platform::AXReadScope& scope,
                                                                 const WindowSource& source) {
  const auto reading = PromptReader::readPrompt(scope, source, kDiagnosticDescendantLimit);
  if (scope.missedTimeout(source.window)) return std::nullopt;
  const auto& evidence = reading.evidence;
  const auto classification = DialogPromptClassifier::classify(evidence);
  return WindowDebugSnapshot{.appName = source.appName,
                             .bundleIdentifier = source.bundleIdentifier,
                             .processIdentifier = source.processIdentifier,
                             .role = evidence.role,
                             .subrole = evidence.subrole,
                             .title = evidence.title,
                             .windowFrame = reading.frame,
                             .isModal = evidence.isModal,
                             .promptScore = classification.score,
                             .accepted = classification.accepted,
                             .rejectionReason = classification.rejectionReason,
                             .messageLines = evidence.messageLines,
                             .buttonLabels = evidence.buttonLabels};
}

void DialogDiagnostics::print(platform::AXReadScope& scope, const std::vector<WindowSource>& sources,
                              platform::Console& console) {
  for (const auto& source : sources) {
    const auto snapshot = snapshotOf(scope, source);
    const auto text = snapshot ? sortedJsonText(*snapshot) : std::nullopt;
    if (text) console.writeLine("Quillard dialog diagnostic: " + *text);
  }
}

}  // namespace quillard
