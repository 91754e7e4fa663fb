#include "app/DesktopTools.h"

#include <algorithm>

#include "app/ExplainReport.h"
#include "app/NewPrivateFile.h"
#include "app/ScanReport.h"
#include "approvals/ApprovalSuppressionStore.h"
#include "click/semantics/DialogButtonSemantics.h"
#include "detection/DialogDetector.h"
#include "detection/StableIDs.h"
#include "foundation/PrintableText.h"
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

// A program that was slow once is read in smaller pieces the next time, as by the agent, whose next scan comes soon.
constexpr int kReadings = 3;
constexpr Seconds kPauseBetweenReadings{0.3};

// Reads until all programs have answered, or often enough.
template <class Read, class IsIncomplete>
auto readAgain(const platform::Platform& platform, Read read, IsIncomplete isIncomplete) {
  auto result = read();
  for (int readings = 1; readings < kReadings && isIncomplete(result); ++readings) {
    platform.clock.sleep(kPauseBetweenReadings);
    result = read();
  }
  return result;
}

// Those of which something may be missing, by their names.
std::vector<std::string> silentPrograms(const recording::RecordedDesktop& desktop) {
  std::vector<std::string> names;
  for (const auto& each : desktop.applications) {
    if (each.missedTimeout) names.push_back(printableText(each.application.localizedName.value_or("A program")));
  }
  return names;
}

// Reads the desktop, and prints what `textOf` makes of it.
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
  const auto diagnosis = readAgain(
      platform, [&] { return detector.diagnose(); }, [](const DesktopDiagnosis& read) { return read.isIncomplete(); });
  output.print(textOf(diagnosis));
  return diagnosis.failure ? ExitCode::cannotDoHere : ExitCode::fine;
}

}  // namespace

ExitCode scanOnce(const ScanOnce& command, const platform::Platform& platform, const Output& output) {
  return report(platform, output, [&](const DesktopDiagnosis& diagnosis) {
    const auto unreadable = platform.capabilities.unreadablePrograms();
    if (command.asJson) return scanJson(diagnosis, unreadable);
    if (!unreadable.isKnown()) return scanText(diagnosis) + "cannot be read  " + unreadable.limitation().reason + "\n";
    const auto& missing = unreadable.missing();
    return scanText(diagnosis) + unreadableText(unreadable.value()) +
           (missing ? "cannot be read  " + missing->reason + "\n" : "");
  });
}

ExitCode explainWindows(const ExplainWindows& command, const platform::Platform& platform, const Output& output) {
  return report(platform, output, [&](const DesktopDiagnosis& diagnosis) {
    return explainText(diagnosis, command.words, platform.capabilities.unreadablePrograms());
  });
}

ExitCode recordDesktop(const RecordDesktop& command, const platform::Platform& platform, const Output& output) {
  if (platform.accessibility.isProcessTrusted() != platform::ProcessTrust::granted) {
    output.printError(kNotTrusted);
    return ExitCode::cannotDoHere;
  }
  recording::RecordingPrivacy privacy{.maskTexts = command.masksTexts, .knownTexts = {}};
  if (command.masksTexts) privacy.knownTexts = knownLabels(platform);
  const auto desktop = readAgain(
      platform,
      [&] {
        return recording::recordDesktop(platform.accessibility, platform.workspace, platform.windowList,
                                        {.program = command.program}, privacy);
      },
      [](const recording::RecordedDesktop& read) { return read.failure || !silentPrograms(read).empty(); });
  if (desktop.failure) {
    output.printError(std::string(sentenceOf(*desktop.failure)) + " Windows may be there all the same.\n");
    return ExitCode::cannotDoHere;
  }
  if (!command.program.empty() && desktop.applications.empty()) {
    output.printError("No such program has windows here: " + command.program + "\n");
    return ExitCode::cannotDoHere;
  }
  const auto problem = writeNewPrivateFile(command.file, recording::recordedDesktopText(desktop));
  if (problem) {
    output.printError(command.file + " cannot be written: " + *problem + "\n");
    return ExitCode::cannotDoHere;
  }
  for (const auto& name : silentPrograms(desktop)) {
    output.printError(name + " did not answer in time: something of it is missing.\n");
  }
  output.print(std::string("Recorded. ") +
               (command.masksTexts
                    ? "Texts are masked, names of applications are not: check it before you hand it on.\n"
                    : "It holds what your windows show: check it before you hand it on.\n"));
  return ExitCode::fine;
}

}  // namespace quillard::app
