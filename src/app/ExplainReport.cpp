#include "app/ExplainReport.h"

#include <array>
#include <string_view>
#include <utility>

#include "foundation/PrintableText.h"
#include "foundation/Text.h"

namespace quillard::app {
namespace {

constexpr std::size_t kLongestExplainedText = 200;

std::string quoted(const std::string& text) { return "\"" + printableText(text, kLongestExplainedText) + "\""; }

std::string_view meaningOf(LabelKind kind) {
  switch (kind) {
    case LabelKind::safeDismissal:
      return "a safe way out";
    case LabelKind::dismissal:
      return "a way out that may lose something";
    case LabelKind::action:
      return "does what it says";
    case LabelKind::acknowledgement:
      return "acknowledges";
    case LabelKind::form:
      return "stands on forms and tools";
    case LabelKind::aside:
      return "decides nothing";
    case LabelKind::unknown:
      return "not understood";
  }
  return "";
}

std::string buttonLines(const WindowDiagnosis& window) {
  std::string text;
  for (const auto& button : window.buttons) {
    text += "    button " + quoted(button.label) + ": " + std::string(meaningOf(button.kind)) +
            (button.isEnabled ? "" : ", and takes no presses now") + "\n";
  }
  return text;
}

std::string partsLine(const WindowStructure& parts) {
  const std::array counted{std::pair{parts.textFields, "fields for text"},
                           std::pair{parts.secureFields, "for a secret"},
                           std::pair{parts.checkBoxes, "check boxes"},
                           std::pair{parts.radioButtons, "radio buttons"},
                           std::pair{parts.comboBoxes, "menus to choose from"},
                           std::pair{parts.adjusters, "sliders or numbers"},
                           std::pair{parts.lists, "lists"},
                           std::pair{parts.progressBars, "progress bars"},
                           std::pair{parts.tabGroups, "groups of tabs"},
                           std::pair{parts.toolbars, "toolbars"},
                           std::pair{parts.menuBars, "menu bars"}};
  std::string text;
  const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  if (parts.isAlert) add("calls itself an alert");
  if (parts.isModal) add("blocks its program");
  if (parts.isChooser) add("is a chooser");
  if (parts.isCutOff) add("is larger than what is read");
  for (const auto& [count, name] : counted) {
    if (count > 0) add(std::string(name) + ": " + std::to_string(count));
  }
  return text.empty() ? "" : "    made of: " + text + "\n";
}

std::string otherSigns(const WindowDiagnosis& window) {
  std::string text;
  for (std::size_t i = 1; i < window.verdicts.size(); ++i) {
    const auto& verdict = window.verdicts[i];
    if (verdict.sign == "no-sign") continue;
    text += std::string("    also ") + (verdict.isPrompt ? "for it: " : "against it: ") + verdict.because + " (" +
            verdict.sign + ")\n";
  }
  return text;
}

// "delet*" stands for words that begin so.
std::string hazardLine(const WindowDiagnosis& window) {
  if (!window.hazard) return "";
  const auto& entry = window.hazard->words;
  const std::string words = entry.ends_with('*') ? entry.substr(0, entry.size() - 1) + "…" : entry;
  return "    at stake: it says " + quoted(words) + ". " + window.hazard->reason + "\n";
}

std::string fromAfar(const WindowDiagnosis& window) {
  if (!window.snapshot->accepted) return "";
  std::string text = "    from afar: ";
  text += window.directAccessReason ? "it can only be dismissed. " + *window.directAccessReason
                                    : "each of its buttons can be pressed.";
  if (window.recommendedLabel) text += " Recommended: " + quoted(*window.recommendedLabel) + ".";
  return text + "\n";
}

std::string explained(const WindowDiagnosis& window) {
  const auto& snapshot = *window.snapshot;
  std::string text = quoted(snapshot.title) + " of " + printableText(window.appName, kLongestExplainedText) +
                     " (process " + std::to_string(window.processIdentifier) + ")\n";
  const bool isByStructure = !window.verdicts.empty();
  const bool isAgreed = isByStructure && window.verdicts.front().isPrompt == snapshot.accepted;
  text += snapshot.accepted ? "    It is a prompt. " : "    It is no prompt. ";
  if (isAgreed) {
    const auto& verdict = window.verdicts.front();
    text += verdict.because + " (" + verdict.sign + ")\n    To be judged otherwise: " + verdict.otherwise + "\n";
  } else {
    text += printableText(snapshot.rejectionReason.value_or("Its words say so."), kLongestExplainedText) + "\n";
  }
  return text + otherSigns(window) + partsLine(window.structure) + buttonLines(window) + hazardLine(window) +
         fromAfar(window);
}

bool holds(const std::string& text, const std::string& lowerFilter) {
  return text::lowercased(text).find(lowerFilter) != std::string::npos;
}

}  // namespace

std::string explainText(const DesktopDiagnosis& diagnosis, const std::string& words,
                        const platform::Finding<std::vector<platform::UnreadableProgram>>& unreadable) {
  const std::string lowerFilter = text::lowercased(words);
  std::string text;
  for (const auto& window : diagnosis.windows) {
    const std::string title = window.snapshot ? window.snapshot->title : "";
    if (!holds(window.appName, lowerFilter) && !holds(title, lowerFilter)) continue;
    text += (window.snapshot
                 ? explained(window)
                 : "A window of " + printableText(window.appName, kLongestExplainedText) + ": it did not answer.\n") +
            "\n";
  }
  for (const auto& program : diagnosis.unread) {
    if (holds(program.appName, lowerFilter)) {
      text += printableText(program.appName, kLongestExplainedText) + " did not answer: it may have windows.\n";
    }
  }
  if (unreadable.isKnown()) {
    for (const auto& program : unreadable.value()) {
      if (!holds(program.name, lowerFilter)) continue;
      text += printableText(program.name, kLongestExplainedText) +
              " cannot be read: what its windows ask is not seen. " + program.remedy + "\n";
    }
  }
  if (text.empty()) text = diagnosis.isIncomplete() ? "No such window was read.\n" : "No such window.\n";
  if (diagnosis.failure) text += "The desktop could not be read as a whole: windows may be there all the same.\n";
  return text;
}

}  // namespace quillard::app
