#include "app/DesktopTools.h"

#include "app/ExplainReport.h"
#include "app/NewPrivateFile.h"
#include "app/ScanReport.h"
#include "approvals/ApprovalSuppressionStore.h"
#include "click/semantics/DialogButtonSemantics.h"
#include "detection/DialogDetector.h"
#include "detection/StableIDs.h"
#include "recording/DesktopRecorder.h"
#include "recording/RecordedDesktopJson.h"

namespace quillard::app {
namespace {

constexpr std::string_view kNotTrusted =
    "Accessibility is off, or its bus does not answer: no window can be read. \"quillard doctor\" says what to do.\n";

// So that it can still be told from a recording which labels decided.
std::set<std::string, std::less<>> knownLabels(const platform::Platform& platform) {
  std::set<std::string, std::less<>> known;
  for (const auto* const labels :
       {&DialogButtonSemantics::safeDismissalLabels(), &DialogButtonSemantics::cancelActionLabels(),
        &DialogButtonSemantics::confirmActionLabels(), &DialogButtonSemantics::promptButtonLabels()}) {
    known.insert(labels->begin(), labels->end());
  }
  const auto& supplement = platform.promptSupplement;
  for (const auto list : {supplement.safeDismissals, supplement.dismissals, supplement.actions,
                          supplement.acknowledgements, supplement.asides, supplement.formLabels}) {
    (void)platform::anyTextOf(list, [&](std::string_view text) {
      known.emplace(text);
      return false;
    });
  }
  return known;
}

// Reads the desktop once, and prints what `textOf` makes of it.
template <class TextOf>
ExitCode report(const platform::Platform& platform, const Output& output, TextOf textOf) {
  if (platform.accessibility.isProcessTrusted() != platform::ProcessTrust::granted) {
    output.printError(kNotTrusted);
    return ExitCode::cannotDoHere;
  }
  const ApprovalSuppressionStore suppressionStore(platform.userDefaults);
  const StableIDs stableIDs(platform.random);
  DialogDetector detector(
      platform.application.processIdentifier(), suppressionStore,
      {platform.accessibility, platform.workspace, platform.windowList, platform.clock, platform.environment,
       platform.console, stableIDs, platform.promptSupplement, &platform.translations});
  const auto diagnosis = detector.diagnose();
  output.print(textOf(diagnosis));
  return diagnosis.failure ? ExitCode::cannotDoHere : ExitCode::fine;
}

}  // namespace

ExitCode scanOnce(const ScanOnce& command, const platform::Platform& platform, const Output& output) {
  return report(platform, output, [&](const DesktopDiagnosis& diagnosis) {
    return command.asJson ? scanJson(diagnosis) : scanText(diagnosis);
  });
}

ExitCode explainWindows(const ExplainWindows& command, const platform::Platform& platform, const Output& output) {
  return report(platform, output,
                [&](const DesktopDiagnosis& diagnosis) { return explainText(diagnosis, command.words); });
}

ExitCode recordDesktop(const RecordDesktop& command, const platform::Platform& platform, const Output& output) {
  if (platform.accessibility.isProcessTrusted() != platform::ProcessTrust::granted) {
    output.printError(kNotTrusted);
    return ExitCode::cannotDoHere;
  }
  recording::RecordingPrivacy privacy{.maskTexts = command.masksTexts, .knownTexts = {}};
  if (command.masksTexts) privacy.knownTexts = knownLabels(platform);
  const auto desktop = recording::recordDesktop(platform.accessibility, platform.workspace, platform.windowList,
                                                {.program = command.program}, privacy);
  if (!command.program.empty() && desktop.applications.empty()) {
    output.printError("No such program has windows here: " + command.program + "\n");
    return ExitCode::cannotDoHere;
  }
  const auto problem = writeNewPrivateFile(command.file, recording::recordedDesktopText(desktop));
  if (problem) {
    output.printError(command.file + " cannot be written: " + *problem + "\n");
    return ExitCode::cannotDoHere;
  }
  output.print(std::string("Recorded. ") +
               (command.masksTexts
                    ? "Texts are masked, names of applications are not: check it before you hand it on.\n"
                    : "It holds what your windows show: check it before you hand it on.\n"));
  return ExitCode::fine;
}

}  // namespace quillard::app
