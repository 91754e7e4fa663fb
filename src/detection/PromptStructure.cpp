#include "detection/PromptStructure.h"

#include <algorithm>
#include <array>

#include "detection/LabelMeaning.h"
#include "foundation/ShownText.h"
#include "foundation/Text.h"

namespace quillard {
namespace {

using platform::PromptSupplement;

using DialogPromptClassifier::kTooManyButtons;

constexpr int kMostButtons = 8;
constexpr int kMostOthers = 4;
constexpr int kMostLines = 10;
constexpr int kMostButtonsOfAKnownChoice = 6;
constexpr int kMostFieldsBesideASecret = 2;
constexpr int kManyBoxes = 3;
constexpr int kChoiceOfRadioButtons = 2;

// What the rules ask.
struct Facts {
  DialogPromptClassifier::WordSigns words;
  WindowStructure parts;
  bool isService = false;
  bool hasChrome = false;
  bool hasSettingsTitle = false;
  bool saysQuestion = false;
  bool hasPhrase = false;      // What only prompts say.
  bool asksAQuestion = false;  // It holds a question mark.
  bool offersToKeepASecret = false;
  bool hasConflict = false;    // Two things claim one name.
  bool hasHighSignal = false;  // A label that makes a prompt even alone, and does more than acknowledge.

  int lines = 0;
  int buttons = 0;
  int decisions = 0;         // Buttons that decide something: all but asides.
  int dismissals = 0;        // Ways out.
  int others = 0;            // Decisions that are no way out.
  int actions = 0;           // Those of them that are understood.
  int acknowledgements = 0;  // OK and Close.
  int formLabels = 0;

  [[nodiscard]] bool isForm() const {
    return parts.comboBoxes > 0 || parts.adjusters > 0 || parts.radioButtons >= kChoiceOfRadioButtons ||
           parts.checkBoxes >= kManyBoxes;
  }
  // Strong enough for a list or a menu beside it.
  [[nodiscard]] bool isQuestionByWords() const { return saysQuestion && decisions > 1; }
};

bool endsAsSettingsDo(std::string_view title, platform::SupplementList endings) {
  const std::string normalized = text::normalized(title);
  const auto isEnding = [&](std::string_view part) {
    return platform::anyTextOf(
        endings, [&](std::string_view ending) { return part == ending || part.ends_with(" " + std::string(ending)); });
  };
  // "Configure — Dolphin": some programs add their names.
  constexpr std::string_view kDash = " — ";
  const auto dash = std::string_view{normalized}.find(kDash);
  return isEnding(normalized) || isEnding(std::string_view{normalized}.substr(0, dash));
}

constexpr std::array kConflicts{
    platform::SupplementGroup{"Two files claim one name.", "already exists|already contains|file exists"}};

constexpr std::array kOffers{platform::SupplementGroup{
    "A program offers to keep what was typed.",
    "save password|save this password|save the password|save your password|save login|save this login|update password|"
    "update login|update this login|remember password|remember this password|remember the password|store password"}};

void countLabels(const DialogPromptEvidence& evidence, const PromptSupplement& supplement, Facts& facts) {
  const LabelMeaning meaning{supplement};
  for (const auto& label : evidence.buttonLabels) {
    const auto kind = meaning.kindOf(label);
    ++facts.buttons;
    if (kind == LabelKind::aside) continue;
    ++facts.decisions;
    const bool isWayOut = kind == LabelKind::safeDismissal || kind == LabelKind::dismissal;
    ++(isWayOut ? facts.dismissals : facts.others);
    if (kind == LabelKind::action) ++facts.actions;
    if (kind == LabelKind::acknowledgement) ++facts.acknowledgements;
    if (kind == LabelKind::form) ++facts.formLabels;
    if (kind == LabelKind::action && DialogPromptClassifier::isHighSignalLabel(LabelMeaning::comparable(label))) {
      facts.hasHighSignal = true;
    }
  }
}

// Title and lines, as far as a prompt could say: what a window holds besides may be a whole document.
std::string beginningOf(const DialogPromptEvidence& evidence) {
  constexpr std::size_t kLongestText = 8 * 1024;
  std::string all = text::normalized(std::string_view{evidence.title}.substr(0, kLongestText));
  for (const auto& line : evidence.messageLines) {
    if (all.size() >= kLongestText) break;
    all += " " + text::normalized(std::string_view{line}.substr(0, kLongestText - all.size()));
  }
  return all;
}

Facts factsOf(const DialogPromptEvidence& evidence, const PromptSupplement& supplement) {
  const std::string all = beginningOf(evidence);
  Facts facts;
  facts.words = DialogPromptClassifier::wordSigns(evidence);
  facts.parts = evidence.structure;
  facts.isService = evidence.isKnownPromptService;
  // A tree in a dialog is a list to choose from; in a window, what leads around in it.
  const bool isOutlined = !facts.words.isDialogLike && evidence.hasNavigationChrome;
  facts.hasChrome = isOutlined || facts.parts.tabGroups > 0 || facts.parts.toolbars > 0 || facts.parts.menuBars > 0;
  facts.hasSettingsTitle = endsAsSettingsDo(evidence.title, supplement.settingsTitles);
  facts.saysQuestion = saysOneOf(all, supplement.questions);
  facts.hasPhrase = facts.words.hasPhrase || facts.saysQuestion || saysOneOf(all, supplement.phrases);
  facts.lines = static_cast<int>(evidence.messageLines.size()) + (evidence.title.empty() ? 0 : 1);
  facts.asksAQuestion = text::holdsQuestion(all);
  facts.hasConflict = saysOneOf(all, kConflicts);
  facts.offersToKeepASecret = saysOneOf(all, kOffers);
  countLabels(evidence, supplement, facts);
  return facts;
}

struct Rule {
  std::string_view sign;
  bool (*fits)(const Facts& facts);
  bool isPrompt;
  std::string_view because;
  std::string_view otherwise;
};

bool asksForASecret(const Facts& f) {
  const bool isOneSecret = f.parts.secureFields == 1 || (f.parts.secureFields > 1 && f.parts.isAlert);
  return isOneSecret && f.parts.textFields <= kMostFieldsBesideASecret && f.decisions > 0 && f.parts.lists == 0 &&
         f.parts.comboBoxes == 0 && f.parts.adjusters == 0 && !f.hasChrome && !f.hasSettingsTitle;
}

// In the order in which they are asked. Each rule says in `fits` which signs are stronger than it.
constexpr std::array kRules{
    Rule{"no-buttons", [](const Facts& f) { return f.buttons == 0; }, false,
         "No actionable buttons exposed through Accessibility.",
         "It would have to show a button whose label accessibility can read."},
    Rule{"too-many-buttons", [](const Facts& f) { return f.buttons >= kTooManyButtons; }, false,
         DialogPromptClassifier::kTooManyButtonsReason, "It would have to show fewer than 13 buttons."},
    Rule{"chooser", [](const Facts& f) { return f.parts.isChooser; }, false,
         "It is for choosing a file, a colour or a font.", "It would have to hold no such chooser."},

    // ---- Windows that do not call themselves dialogs
    Rule{"window-of-a-service",
         [](const Facts& f) {
           return !f.words.isDialogLike && f.isService && !f.hasChrome && f.parts.lists == 0 &&
                  (f.parts.secureFields > 0 || (f.dismissals > 0 && f.others > 0));
         },
         true, "It belongs to a program that exists to put up prompts, and there is something to decide in it.",
         "It would have to belong to another program, or show only one button."},
    Rule{"window-for-a-secret",
         [](const Facts& f) {
           return !f.words.isDialogLike && asksForASecret(f) && f.dismissals > 0 && !f.parts.isCutOff;
         },
         true, "It asks for a secret, with a way out beside it, and holds little else.",
         "It would have to have no field for a secret, or a toolbar, a menu bar or tabs."},
    Rule{"window-with-chrome",
         [](const Facts& f) { return !f.words.isDialogLike && (f.hasChrome || f.hasSettingsTitle); }, false,
         "Window has navigation or settings chrome and is not modal.",
         "It would have to be a dialog, or have no toolbar, menu bar, tabs and no title of settings."},
    Rule{"window-that-asks",
         [](const Facts& f) {
           return !f.words.isDialogLike && (f.hasPhrase || f.asksAQuestion) && f.lines <= kMostLines &&
                  f.buttons <= kMostButtonsOfAKnownChoice && !f.isForm() && f.parts.textFields == 0 &&
                  f.parts.lists == 0 && !f.parts.isCutOff &&
                  (f.words.hasPairedChoice || f.words.hasSettingsSignal || (f.dismissals > 0 && f.actions > 0));
         },
         true, "It asks, or says what only a prompt says, and known buttons stand for a choice.",
         "It would have to say something else, or show buttons that are no choice."},
    Rule{"ordinary-window", [](const Facts& f) { return !f.words.isDialogLike; }, false,
         "It is an ordinary window, without the words and the buttons of a prompt.",
         "It would have to be a dialog, or say what only a prompt says beside known buttons."},

    // ---- Dialogs
    Rule{"nothing-to-decide",
         [](const Facts& f) {
           const bool isOnlyNotice = f.decisions == f.acknowledgements || (f.decisions == 1 && f.dismissals == 1);
           return isOnlyNotice && f.parts.secureFields == 0 && !(f.isService && f.dismissals > 0);
         },
         false, "There is nothing to decide: its buttons only acknowledge.",
         "It would have to show a second button that does something else."},
    Rule{"tool-palette",
         [](const Facts& f) {
           return (f.buttons > kMostButtons || f.others > kMostOthers) &&
                  !(f.words.hasPairedChoice && f.buttons <= kMostButtonsOfAKnownChoice);
         },
         false, "So many buttons make it a tool, and no question.",
         "It would have to show at most eight buttons, and at most four of them besides the ways out."},
    Rule{"chooser-of-a-service",
         [](const Facts& f) {
           const bool isChooser = (f.parts.lists > 0 && !f.hasPhrase) || f.hasChrome || f.parts.comboBoxes > 1;
           return f.isService && f.parts.secureFields == 0 && isChooser;
         },
         false, "It belongs to a program that puts up prompts, but something is chosen in it.",
         "It would have to hold no list, no tabs and at most one menu, or say what only a prompt says beside a list."},
    Rule{"service", [](const Facts& f) { return f.isService; }, true,
         "It belongs to a program that exists to put up prompts.", "It would have to belong to another program."},
    Rule{"secret", asksForASecret, true, "It asks for a secret.",
         "It would have to have no field for a secret, or several, or to be a form besides."},
    Rule{"settings", [](const Facts& f) { return f.hasSettingsTitle && !f.parts.isAlert; }, false,
         "Ordinary settings and preferences windows are not approval prompts.", "It would have to have another title."},
    Rule{"conflict",
         [](const Facts& f) {
           return f.hasConflict && f.dismissals > 0 && f.others > 0 && f.parts.textFields <= 1 && !f.hasChrome;
         },
         true, "Two things claim one name, and there is a way out.", "It would have to speak of something else."},
    Rule{"offer-to-keep-a-secret",
         [](const Facts& f) {
           return f.offersToKeepASecret && f.dismissals > 0 && f.decisions > 1 && f.parts.secureFields <= 1 &&
                  f.parts.textFields <= kMostFieldsBesideASecret && !f.hasChrome;
         },
         true, "It offers to keep a secret that has been typed already.", "It would have to offer something else."},
    Rule{"form-with-fields",
         [](const Facts& f) {
           const bool isShownText = f.parts.textFields == 1 && f.parts.secureFields == 0 && f.isQuestionByWords();
           return (f.parts.textFields > 0 || f.parts.secureFields > 0) && !isShownText;
         },
         false, "It is a form: something has to be typed into it.", "It would have to hold no field for text."},
    Rule{"dialog-with-chrome", [](const Facts& f) { return f.hasChrome && !f.parts.isAlert; }, false,
         "It has tabs, a toolbar or a menu bar, as settings and tools have.", "It would have to have none of them."},
    Rule{"labels-of-a-form", [](const Facts& f) { return f.formLabels > 0 && !f.parts.isAlert; }, false,
         "It shows a button of forms, settings, assistants or tools.", "It would have to show no such button."},
    Rule{"text-to-read",
         [](const Facts& f) {
           const bool isAnswered = f.actions > 0 || f.others > f.acknowledgements;
           return f.parts.documents > 0 && !isAnswered && !f.hasPhrase && !f.parts.isAlert;
         },
         false, "It shows a text to be read, and its buttons only acknowledge.",
         "It would have to show a button that answers something."},
    Rule{"form-with-choices", [](const Facts& f) { return f.isForm() && !f.parts.isAlert && !f.isQuestionByWords(); },
         false, "It is a form: there is something to set in it.",
         "It would have to hold no menus, sliders, groups of boxes, or say what only a prompt says."},
    Rule{"list",
         [](const Facts& f) {
           return (f.parts.lists > 0 || f.parts.isCutOff) && !f.parts.isAlert && !f.isQuestionByWords();
         },
         false, "It holds a list, or more than a prompt holds.",
         "It would have to hold no list, or say what only a prompt says."},
    Rule{"progress",
         [](const Facts& f) { return f.parts.progressBars > 0 && !f.parts.isAlert && !f.isQuestionByWords(); }, false,
         "It shows how far something is.", "It would have to show no progress, or say what only a prompt says."},
    Rule{"single-action", [](const Facts& f) { return f.decisions == 1 && f.hasHighSignal; }, true,
         "Its only button does more than acknowledge.", "It would have to show no button, or OK alone."},
    Rule{"single-action-by-words", [](const Facts& f) { return f.decisions == 1 && f.actions == 1 && f.hasPhrase; },
         true, "It says what only a prompt says, and its only button does more than acknowledge.",
         "It would have to say something else, or show OK alone."},
    Rule{"single-button", [](const Facts& f) { return f.decisions <= 1; }, false,
         "There is nothing to decide: it shows one button.", "It would have to show a second button."},
    Rule{"question", [](const Facts& f) { return f.dismissals > 0; }, true,
         "A way out stands beside something to decide, and nothing has to be filled in.",
         "It would have to show no known way out, or hold something to fill in."},
    Rule{"alert-with-a-choice", [](const Facts& f) { return f.parts.isAlert; }, true,
         "It calls itself an alert, and there is a choice.", "It would have to be no alert, or show one button."},
    Rule{"choice-by-words", [](const Facts& f) { return (f.hasPhrase || f.asksAQuestion) && f.actions > 0; }, true,
         "It asks a question, and a known button answers it.",
         "It would have to ask nothing, or show buttons that are not known."},
    Rule{"no-sign", [](const Facts&) { return true; }, false, "Nothing in it is the sign of a prompt.",
         "It would have to show a known way out, call itself an alert, or say what only a prompt says."}};

PromptStructure::Verdict verdictOf(const Rule& rule) {
  return {.isPrompt = rule.isPrompt,
          .sign = std::string(rule.sign),
          .because = std::string(rule.because),
          .otherwise = std::string(rule.otherwise)};
}

}  // namespace

PromptStructure::Verdict PromptStructure::judge(const DialogPromptEvidence& evidence,
                                                const PromptSupplement& supplement) {
  const Facts facts = factsOf(evidence, supplement);
  return verdictOf(*std::find_if(kRules.begin(), kRules.end(), [&](const Rule& rule) { return rule.fits(facts); }));
}

std::vector<PromptStructure::Verdict> PromptStructure::allThatFit(const DialogPromptEvidence& evidence,
                                                                  const PromptSupplement& supplement) {
  const Facts facts = factsOf(evidence, supplement);
  std::vector<Verdict> verdicts;
  for (const auto& rule : kRules) {
    if (rule.fits(facts)) verdicts.push_back(verdictOf(rule));
  }
  return verdicts;
}

}  // namespace quillard
