#include "app/ScanReport.h"

#include <cmath>
#include <string_view>

#include <nlohmann/json.hpp>

#include "foundation/PrintableText.h"

namespace quillard::app {
namespace {

constexpr std::size_t kLongestScanText = 500;

std::string printable(const std::string& text) { return printableText(text, kLongestScanText); }

std::string placeOf(const DialogFrame& frame) {
  const auto whole = [](double number) { return std::to_string(std::lround(number)); };
  return whole(frame.width) + " x " + whole(frame.height) + " at " + whole(frame.x) + ", " + whole(frame.y);
}

std::string headline(const WindowDebugSnapshot& window) {
  const std::string verdict = window.accepted ? "PROMPT      " : "not a prompt";
  return verdict + "  \"" + printable(window.title) + "\" of " + printable(window.appName) + " (process " +
         std::to_string(window.processIdentifier) + ")\n";
}

std::string lineOf(const std::string& name, const std::string& text) {
  return text.empty() ? std::string() : "    " + name + ": " + text + "\n";
}

std::string listed(const std::vector<std::string>& texts) {
  std::string list;
  for (const auto& text : texts) list += (list.empty() ? "\"" : ", \"") + printable(text) + "\"";
  return list;
}

// What the phone shows of a prompt, where that is not what the window shows.
std::string onPhone(const WindowDiagnosis& diagnosis) {
  const auto& window = *diagnosis.snapshot;
  if (!window.accepted) return "";
  std::string text;
  if (diagnosis.linesOnPhone != window.messageLines) text += lineOf("on the phone", listed(diagnosis.linesOnPhone));
  if (diagnosis.recommendedLabel) text += lineOf("recommended", "\"" + printable(*diagnosis.recommendedLabel) + "\"");
  return text + lineOf("only denied from afar", printable(diagnosis.directAccessReason.value_or("")));
}

std::string programLine(const UnreadProgram& program) {
  return "no answer     " + printable(program.appName) + " (process " + std::to_string(program.processIdentifier) +
         ") may have windows\n";
}

std::string describe(const WindowDebugSnapshot& window) {
  const auto kind = window.role + (window.subrole.empty() ? "" : "/" + window.subrole) +
                    (window.isModal ? ", a dialog" : "") + ", " + placeOf(window.windowFrame);
  return headline(window) + lineOf("why not", printable(window.rejectionReason.value_or(""))) +
         lineOf("score", std::to_string(window.promptScore)) + lineOf("window", printable(kind)) +
         lineOf("texts", listed(window.messageLines)) + lineOf("buttons", listed(window.buttonLabels));
}

nlohmann::ordered_json withPhone(nlohmann::ordered_json report, const WindowDiagnosis& diagnosis) {
  if (!diagnosis.snapshot->accepted) return report;
  auto& lines = report["linesOnPhone"] = nlohmann::ordered_json::array();
  for (const auto& line : diagnosis.linesOnPhone) lines.push_back(printable(line));
  if (diagnosis.recommendedLabel) report["recommendedLabel"] = printable(*diagnosis.recommendedLabel);
  if (diagnosis.directAccessReason) report["directAccessReason"] = printable(*diagnosis.directAccessReason);
  return report;
}

nlohmann::ordered_json unreadableJson(const platform::UnreadableProgram& program) {
  nlohmann::ordered_json json{{"appName", printable(program.name)}, {"processIdentifier", program.processIdentifier}};
  if (!program.remedy.empty()) json["remedy"] = program.remedy;
  if (!program.startEntry.empty()) json["startEntry"] = printable(program.startEntry);
  return json;
}

}  // namespace

std::string_view sentenceOf(platform::DesktopReadFailure failure) {
  using platform::DesktopReadFailure;
  switch (failure) {
    case DesktopReadFailure::notPermitted:
      return "Accessibility is not allowed.";
    case DesktopReadFailure::accessibilityService:
      return "Accessibility does not answer.";
    case DesktopReadFailure::applicationList:
      return "It cannot be told which programs can be read.";
    case DesktopReadFailure::windowServer:
      return "The display does not answer.";
  }
  return "";
}

std::string scanText(const DesktopDiagnosis& diagnosis) {
  if (diagnosis.failure) return std::string(sentenceOf(*diagnosis.failure)) + " Windows may be there all the same.\n";
  const auto& windows = diagnosis.windows;
  if (windows.empty() && diagnosis.unread.empty()) return "No windows.\n";
  std::string text;
  std::size_t prompts = 0;
  for (const auto& window : windows) {
    if (window.snapshot) {
      text += describe(*window.snapshot) + onPhone(window);
      prompts += window.snapshot->accepted ? 1 : 0;
    } else {
      text += "no answer     a window of " + printable(window.appName) + " (process " +
              std::to_string(window.processIdentifier) + ")\n";
    }
  }
  for (const auto& program : diagnosis.unread) text += programLine(program);
  return text + "\n" + std::to_string(windows.size()) + (windows.size() == 1 ? " window, " : " windows, ") +
         std::to_string(prompts) + (prompts == 1 ? " prompt.\n" : " prompts.\n");
}

std::string unreadableText(const std::vector<platform::UnreadableProgram>& programs) {
  std::string text;
  for (const auto& program : programs) {
    text += "cannot be read  " + printable(program.name) + " (process " + std::to_string(program.processIdentifier) +
            ")\n" + lineOf("what helps", program.remedy);
    if (!program.startEntry.empty()) text += "    or: quillard readable " + printable(program.startEntry) + "\n";
  }
  return text;
}

std::string scanJson(const DesktopDiagnosis& diagnosis,
                     const platform::Finding<std::vector<platform::UnreadableProgram>>& unreadable) {
  nlohmann::ordered_json report;
  report["windows"] = nlohmann::ordered_json::array();
  report["unanswered"] = nlohmann::ordered_json::array();
  if (diagnosis.failure) report["failure"] = sentenceOf(*diagnosis.failure);
  for (const auto& window : diagnosis.windows) {
    const auto json = window.snapshot ? sortedJsonText(*window.snapshot) : std::nullopt;
    if (json) {
      report["windows"].push_back(withPhone(nlohmann::ordered_json::parse(*json), window));
    } else {
      report["unanswered"].push_back(
          {{"appName", printable(window.appName)}, {"processIdentifier", window.processIdentifier}});
    }
  }
  for (const auto& program : diagnosis.unread) {
    report["unanswered"].push_back(
        {{"appName", printable(program.appName)}, {"processIdentifier", program.processIdentifier}});
  }
  report["unreadable"] = nlohmann::ordered_json::array();
  if (unreadable.isKnown()) {
    for (const auto& program : unreadable.value()) report["unreadable"].push_back(unreadableJson(program));
  }
  const auto unknown = unreadable.isKnown() ? unreadable.missing() : std::optional(unreadable.limitation());
  if (unknown) report["unreadableUnknown"] = unknown->reason;
  return report.dump(2) + "\n";
}

}  // namespace quillard::app
