#include "detection/PromptReader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_set>
#include <utility>

#include "click/semantics/DialogButtonSemantics.h"
#include "detection/KnownPromptService.h"
#include "detection/elements/AXHelpers.h"
#include "foundation/Text.h"

namespace quillard {

using platform::AXAttributeReader;
using platform::AXUIElement;
namespace ax = platform::ax;

namespace {

constexpr std::string_view kUnnamedSecret = "Password";

template <class Content>
struct Placed {
  Content content;
  std::optional<Rect> frame;
};

// Something with a place, and what is without and follows it.
template <class Content>
struct Block {
  std::optional<Rect> frame;  // Absent only for what comes before everything with a place.
  std::vector<Content> contents;
};

template <class Content>
std::vector<Content> inReadingOrder(std::vector<Placed<Content>> all) {
  std::vector<Block<Content>> blocks;
  for (auto& each : all) {
    if (each.frame || blocks.empty()) blocks.push_back({each.frame, {}});
    blocks.back().contents.push_back(std::move(each.content));
  }
  const auto place = [](const auto& block) { return std::pair{block.frame->y, block.frame->x}; };
  std::stable_sort(blocks.begin(), blocks.end(), [&](const auto& a, const auto& b) {
    if (!a.frame || !b.frame) return !a.frame && b.frame.has_value();
    return place(a) < place(b);
  });
  std::vector<Content> ordered;
  for (auto& block : blocks) std::move(block.contents.begin(), block.contents.end(), std::back_inserter(ordered));
  return ordered;
}

// What is left once button labels and repetitions are taken out.
std::vector<std::string> distinctLines(std::vector<std::string> lines, const std::vector<DialogButton>& buttons) {
  std::unordered_set<std::string> known;
  for (const auto& button : buttons) known.insert(DialogButtonSemantics::normalized(button.label));
  std::erase_if(lines,
                [&](const std::string& line) { return !known.insert(DialogButtonSemantics::normalized(line)).second; });
  return lines;
}

// Null: elements of that role are no boxes or menus.
int* optionCounterOf(WindowStructure& parts, std::string_view role) {
  if (role == ax::kCheckBoxRole) return &parts.checkBoxes;
  if (role == ax::kRadioButtonRole) return &parts.radioButtons;
  return role == ax::kComboBoxRole ? &parts.comboBoxes : nullptr;
}

bool isOption(std::string_view role) {
  WindowStructure parts;
  return optionCounterOf(parts, role) != nullptr;
}

bool isNavigationChrome(std::string_view role) {
  return role == ax::kToolbarRole || role == ax::kOutlineRole || role == ax::kTabGroupRole || role == ax::kSidebarRole;
}

// Reads texts of one prompt, and notes in its reading when one could not be read.
class TextReader {
 public:
  TextReader(AXAttributeReader& reader, PromptReading& reading) : reader(reader), reading(reading) {}

  std::optional<std::string> text(const AXUIElement& element, platform::AXAttribute name) {
    auto read = AXHelpers::readText(reader, element, name);
    if (read.isUnreadable) reading.hasUnreadableText = true;
    return std::move(read.text);
  }

  std::string role(const AXUIElement& element) { return text(element, ax::kRole).value_or(""); }

  // What a text or text field shows. Absent: nothing, or the element is of another role.
  std::optional<std::string> shown(const AXUIElement& element, std::string_view role) {
    if (role != ax::kStaticTextRole && role != ax::kTextFieldRole) return std::nullopt;
    const bool isSecure =
        role == ax::kTextFieldRole && text(element, ax::kSubrole).value_or("") == ax::kSecureTextFieldSubrole;
    if (isSecure) reading.hasSecureTextField = true;
    return firstTextValue(element, isSecure);
  }

 private:
  std::optional<std::string> firstTextValue(const AXUIElement& element, bool isSecure) {
    constexpr std::array kTextAttributes{ax::kValue, ax::kTitle, ax::kDescription};
    for (const auto name : kTextAttributes) {
      if (isSecure && name == ax::kValue) continue;
      const auto value = text(element, name);
      const auto shown = text::trimmed(value ? std::string_view{*value} : std::string_view{});
      if (!shown.empty()) return std::string(shown);
    }
    return isSecure ? std::optional<std::string>{kUnnamedSecret} : std::nullopt;
  }

  AXAttributeReader& reader;
  PromptReading& reading;
};

// Goes once over the elements of a prompt and gathers all that is asked of them.
class ContentWalk {
 public:
  ContentWalk(AXAttributeReader& reader, PromptReading& reading) : reader(reader), reading(reading) {}

  void visit(const AXUIElement& element) {
    const std::string role = texts.role(element);
    if (role == ax::kButtonRole) visitButton(element);
    if (auto shown = texts.shown(element, role))
      lines.push_back({*std::move(shown), AXHelpers::frame(reader, element)});
    if (isNavigationChrome(role)) reading.evidence.hasNavigationChrome = true;
    count(element, role);
  }

  void finish() {
    reading.evidence.messageLines = distinctLines(inReadingOrder(std::move(lines)), reading.buttons);
    for (const auto& button : reading.buttons) reading.evidence.buttonLabels.push_back(button.label);
  }

 private:
  void count(const AXUIElement& element, std::string_view role) {
    auto& parts = reading.evidence.structure;
    if (role == ax::kTextFieldRole) {
      const bool isSecure = AXHelpers::subrole(reader, element) == ax::kSecureTextFieldSubrole;
      ++(isSecure ? parts.secureFields : parts.textFields);
    }
    if (role == ax::kStaticTextRole && AXHelpers::subrole(reader, element) == ax::kTextAreaSubrole) ++parts.documents;
    if (role == ax::kBrowserRole) parts.isChooser = true;
    if (isOption(role)) reading.options.push_back(element);
    if (int* const counter = counterOf(parts, role)) ++*counter;
  }

  // Null: elements of that role are not counted.
  static int* counterOf(WindowStructure& parts, std::string_view role) {
    if (int* const counter = optionCounterOf(parts, role)) return counter;
    if (role == ax::kSliderRole || role == ax::kIncrementorRole) return &parts.adjusters;
    if (role == ax::kListRole || role == ax::kTableRole || role == ax::kOutlineRole) return &parts.lists;
    if (role == ax::kProgressIndicatorRole) return &parts.progressBars;
    if (role == ax::kTabGroupRole) return &parts.tabGroups;
    if (role == ax::kToolbarRole) return &parts.toolbars;
    return role == ax::kMenuBarRole ? &parts.menuBars : nullptr;
  }

  void visitButton(const AXUIElement& element) {
    // Read for whether they can be: a button without a label is none.
    if (texts.text(element, ax::kTitle).value_or("").empty()) (void)texts.text(element, ax::kDescription);
    if (auto button = PromptReader::pressableButton(reader, element)) reading.buttons.push_back(*std::move(button));
  }

  AXAttributeReader& reader;
  PromptReading& reading;
  TextReader texts{reader, reading};
  std::vector<Placed<std::string>> lines;
};

// Absent: it does not say.
std::optional<BoxState> boxState(AXAttributeReader& reader, const AXUIElement& box, PromptReading& reading) {
  const auto state = reader.copyAttributeValue(box, ax::kValue);
  if (!state.hasValue()) {
    const bool saysNothing =
        state.error() == platform::AXError::noValue || state.error() == platform::AXError::attributeUnsupported;
    if (!saysNothing) reading.hasUnreadableText = true;
    return std::nullopt;
  }
  const auto* const number = std::get_if<std::int64_t>(&state.value());
  if (!number) return std::nullopt;
  if (*number == 0) return BoxState::off;
  return *number == 1 ? BoxState::on : BoxState::mixed;
}

PromptOption optionOf(AXAttributeReader& reader, const AXUIElement& element, PromptReading& reading) {
  TextReader texts{reader, reading};
  auto title = texts.text(element, ax::kTitle).value_or("");
  if (text::trimmed(title).empty()) title = texts.text(element, ax::kDescription).value_or("");
  PromptOption option{.title = PromptText::asItStands(std::string(text::trimmed(title))), .box = std::nullopt};
  option.isMenu = texts.role(element) == ax::kComboBoxRole;
  if (option.isMenu) {
    option.setting = text::trimmed(texts.text(element, ax::kValue).value_or(""));
  } else {
    option.box = boxState(reader, element, reading);
  }
  return option;
}

std::string titleOf(TextReader& texts, const AXUIElement& content, const AXUIElement& window) {
  auto title = texts.text(content, ax::kTitle);
  if (!title) title = texts.text(window, ax::kTitle);
  return title.value_or("");
}

DialogFrame frameOf(AXAttributeReader& reader, const AXUIElement& content, const AXUIElement& window) {
  auto frame = AXHelpers::frame(reader, content);
  if (!frame) frame = AXHelpers::frame(reader, window);
  return DialogFrame::of(frame.value_or(Rect{}));
}

std::vector<PromptText> asTheyStand(const std::vector<std::string>& texts) {
  std::vector<PromptText> all;
  for (const auto& text : texts) all.push_back(PromptText::asItStands(text));
  return all;
}

// What the content says of itself, beyond its role and subrole.
void readKind(AXAttributeReader& reader, const AXUIElement& content, WindowStructure& structure) {
  const auto kind = AXHelpers::stringAttribute(reader, content, ax::kRoleDescription).value_or("");
  structure.isAlert = kind == ax::kAlertDescription;
  structure.isChooser = structure.isChooser || kind == ax::kChooserDescription;
  structure.isModal = AXHelpers::boolAttribute(reader, content, ax::kModal).value_or(false);
}

}  // namespace

bool PromptReader::isDialogContainer(AXAttributeReader& reader, const AXUIElement& element) {
  return AXHelpers::role(reader, element) == ax::kSheetRole ||
         AXHelpers::subrole(reader, element) == ax::kDialogSubrole ||
         AXHelpers::boolAttribute(reader, element, ax::kModal).value_or(false);
}

AXUIElement PromptReader::promptContentElement(AXAttributeReader& reader, const AXUIElement& window) {
  if (isDialogContainer(reader, window)) return window;
  for (const auto& element : AXHelpers::deeplyNestedChildren(reader, window, kContentSearchLimit)) {
    if (isDialogContainer(reader, element)) return element;
  }
  return window;
}

std::string PromptReader::buttonLabel(AXAttributeReader& reader, const AXUIElement& element) {
  auto label = AXHelpers::stringAttribute(reader, element, ax::kTitle).value_or("");
  if (label.empty()) label = AXHelpers::stringAttribute(reader, element, ax::kDescription).value_or("");
  return label;
}

std::optional<DialogButton> PromptReader::pressableButton(AXAttributeReader& reader, const AXUIElement& element) {
  if (AXHelpers::role(reader, element) != ax::kButtonRole) return std::nullopt;
  std::string label = buttonLabel(reader, element);
  if (label.empty()) return std::nullopt;
  const auto frame = AXHelpers::frame(reader, element);
  if (!frame || !(frame->width > 0) || !(frame->height > 0)) return std::nullopt;
  return DialogButton{.label = std::move(label),
                      .role = std::string(ax::kButtonRole),
                      .x = frame->x,
                      .y = frame->y,
                      .width = frame->width,
                      .height = frame->height,
                      .isEnabled = AXHelpers::boolAttribute(reader, element, ax::kEnabled).value_or(true)};
}

PromptReading PromptReader::readPrompt(AXAttributeReader& reader, const WindowSource& source, int descendantLimit) {
  PromptReading reading{.content = promptContentElement(reader, source.window)};
  auto& evidence = reading.evidence;
  evidence.role = AXHelpers::role(reader, reading.content);
  evidence.subrole = AXHelpers::subrole(reader, reading.content);
  TextReader texts{reader, reading};
  evidence.title = titleOf(texts, reading.content, source.window);
  evidence.isModal = isDialogContainer(reader, reading.content);
  evidence.bundleIdentifier = source.bundleIdentifier;
  evidence.isKnownPromptService = isKnownPromptService(source.bundleIdentifier, source.appName);
  reading.frame = frameOf(reader, reading.content, source.window);
  ContentWalk walk{reader, reading};
  const auto descendants = AXHelpers::descendants(reader, reading.content, descendantLimit);
  for (const auto& element : descendants.elements) walk.visit(element);
  walk.finish();
  const bool isFull = static_cast<int>(descendants.elements.size()) >= descendantLimit;
  if (isFull) reading.isCutOff = !descendants.isComplete;
  if (!isFull && !descendants.isComplete) reading.hasUnreadableText = true;
  readKind(reader, reading.content, evidence.structure);
  evidence.structure.isCutOff = reading.isCutOff;
  reading.texts = {.title = PromptText::asItStands(evidence.title),
                   .lines = asTheyStand(evidence.messageLines),
                   .labels = asTheyStand(evidence.buttonLabels),
                   .beyond = {},
                   .options = {}};
  return reading;
}

void PromptReader::readBeyond(AXAttributeReader& reader, PromptReading& reading, int descendantLimit) {
  if (!reading.isCutOff) return;
  TextReader texts{reader, reading};
  const auto descendants = AXHelpers::descendants(reader, reading.content, kTellingLimit);
  for (std::size_t i = static_cast<std::size_t>(std::max(descendantLimit, 0)); i < descendants.elements.size(); ++i) {
    const auto& element = descendants.elements[i];
    const std::string role = texts.role(element);
    if (auto shown = texts.shown(element, role)) {
      reading.texts.beyond.push_back(PromptText::asItStands(*std::move(shown)));
    }
    if (int* const counter = optionCounterOf(reading.evidence.structure, role)) {
      ++*counter;
      reading.options.push_back(element);
    }
  }
  if (!descendants.isComplete) reading.hasUnreadableText = true;
}

void PromptReader::readOptions(AXAttributeReader& reader, PromptReading& reading) {
  std::vector<Placed<PromptOption>> options;
  for (const auto& element : reading.options) {
    options.push_back({optionOf(reader, element, reading), AXHelpers::frame(reader, element)});
  }
  reading.texts.options = inReadingOrder(std::move(options));
}

}  // namespace quillard
