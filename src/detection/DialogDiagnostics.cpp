#include "detection/DialogDiagnostics.h"

#include <algorithm>

#include "detection/PromptReader.h"

namespace quillard {
namespace {

// Of the lines that are printed at each scan.
constexpr int kPrintedDescendantLimit = 120;

}  // namespace

WindowDiagnosis DialogDiagnostics::diagnose(platform::AXReadScope& scope, const WindowSource& source,
                                            const WindowJudges& judges, int descendantLimit) {
  WindowDiagnosis diagnosis{
      .appName = source.appName, .processIdentifier = source.processIdentifier, .snapshot = std::nullopt};
  auto reading = PromptReader::readPrompt(scope, source, descendantLimit);
  if (scope.missedTimeout(source.window)) return diagnosis;
  diagnosis.content = reading.content;
  const auto& [judge, foreignTexts] = judges;
  (void)foreignTexts.judge(source.processIdentifier, reading);
  const auto& evidence = reading.evidence;
  const auto classification = judge.classify(source, reading);
  diagnosis.verdicts = judge.explain(source, reading);
  diagnosis.blocksOthers = classification.accepted && judge.blocksOthers(reading);
  diagnosis.structure = evidence.structure;
  diagnosis.buttons = judge.buttons(reading);
  if (classification.accepted) {
    PromptReader::readBeyond(scope, reading, descendantLimit);
    judge.readOptions(scope, reading);
    foreignTexts.judgeBeyond(source.processIdentifier, reading);
    if (scope.missedTimeout(source.window)) return diagnosis;
    const auto judged = judge.judge(reading);
    diagnosis.directAccessReason = judged.directAccessReason;
    diagnosis.recommendedLabel = judged.recommendedLabel;
    diagnosis.hazard = judge.hazard(reading);
    diagnosis.linesOnPhone = judged.allLines();
  }
  diagnosis.snapshot = WindowDebugSnapshot{.appName = source.appName,
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
  return diagnosis;
}

bool DesktopDiagnosis::isIncomplete() const {
  return failure.has_value() || !unread.empty() ||
         std::any_of(windows.begin(), windows.end(), [](const WindowDiagnosis& window) { return !window.snapshot; });
}

void DialogDiagnostics::rejectBlocked(DesktopDiagnosis& diagnosis) {
  const auto& windows = diagnosis.windows;
  const auto isBlocked = [&](const WindowDiagnosis& window) {
    return !window.blocksOthers && std::any_of(windows.begin(), windows.end(), [&](const WindowDiagnosis& other) {
      return other.blocksOthers && other.processIdentifier == window.processIdentifier;
    });
  };
  for (auto& window : diagnosis.windows) {
    if (!window.snapshot || !window.snapshot->accepted || !isBlocked(window)) continue;
    window.snapshot->accepted = false;
    window.snapshot->rejectionReason = "Another dialog of the same program blocks it.";
  }
}

void DialogDiagnostics::print(platform::AXReadScope& scope, const std::vector<WindowSource>& sources,
                              const WindowJudges& judges, platform::Console& console) {
  for (const auto& source : sources) {
    const auto diagnosis = diagnose(scope, source, judges, kPrintedDescendantLimit);
    const auto text = diagnosis.snapshot ? sortedJsonText(*diagnosis.snapshot) : std::nullopt;
    if (text) console.writeLine("Quillard dialog diagnostic: " + *text);
  }
}

}  // namespace quillard
