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

struct TextLine {
  std::string text;
  std::optional<Rect> frame;
};

// A line with a place, and the ones without that follow it.
struct TextBlock {
  std::optional<Rect> frame;  // Absent only for what comes before every line with a place.
  std::vector<std::string> lines;
};

bool isSecureTextField(AXAttributeReader& reader, const AXUIElement& element, std::string_view role) {
  return role == ax::kTextFieldRole && AXHelpers::subrole(reader, element) == ax::kSecureTextFieldSubrole;
}

std::optional<std::string> firstTextValue(AXAttributeReader& reader, const AXUIElement& element, bool isSecure) {
  constexpr std::array kTextAttributes{ax::kValue, ax::kTitle, ax::kDescription};
  for (const auto name : kTextAttributes) {
    if (isSecure && name == ax::kValue) continue;
    const auto value = AXHelpers::stringAttribute(reader, element, name);
    const auto shown = text::trimmed(value ? std::string_view{*value} : std::string_view{});
    if (!shown.empty()) return std::string(shown);
  }
  return isSecure ? std::optional<std::string>{kUnnamedSecret} : std::nullopt;
}

std::vector<std::string> inReadingOrder(std::vector<TextLine> lines) {
  std::vector<TextBlock> blocks;
  for (auto& line : lines) {
    if (line.frame || blocks.empty()) blocks.push_back({line.frame, {}});
    blocks.back().lines.push_back(std::move(line.text));
  }
  const auto place = [](const TextBlock& block) { return std::pair{block.frame->y, block.frame->x}; };
  std::stable_sort(blocks.begin(), blocks.end(), [&](const TextBlock& a, const TextBlock& b) {
    if (!a.frame || !b.frame) return !a.frame && b.frame.has_value();
    return place(a) < place(b);
  });
  std::vector<std::string> ordered;
  for (auto& block : blocks) std::move(block.lines.begin(), block.lines.end(), std::back_inserter(ordered));
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

bool isNavigationChrome(std::string_view role) {
  return role == ax::kToolbarRole || role == ax::kOutlineRole || role == ax::kTabGroupRole || role == ax::kSidebarRole;
}

// Goes once over the elements of a prompt and gathers all that is asked of them.
class ContentWalk {
 public:
  ContentWalk(AXAttributeReader& reader, PromptReading& reading) : reader(reader), reading(reading) {}

  void visit(const AXUIElement& element) {
    const std::string role = AXHelpers::role(reader, element);
    if (role == ax::kButtonRole) visitButton(element);
    if (role == ax::kStaticTextRole || role == ax::kTextFieldRole) visitText(element, role);
    if (isNavigationChrome(role)) reading.evidence.hasNavigationChrome = true;
  }

  void finish() {
    reading.evidence.messageLines = distinctLines(inReadingOrder(std::move(lines)), reading.buttons);
    for (const auto& button : reading.buttons) reading.evidence.buttonLabels.push_back(button.label);
  }

 private:
  void visitButton(const AXUIElement& element) {
    if (auto button = PromptReader::pressableButton(reader, element)) reading.buttons.push_back(*std::move(button));
  }

  void visitText(const AXUIElement& element, std::string_view role) {
    const bool isSecure = isSecureTextField(reader, element, role);
    if (isSecure) reading.hasSecureTextField = true;
    auto text = firstTextValue(reader, element, isSecure);
    if (text) lines.push_back({*std::move(text), AXHelpers::frame(reader, element)});
  }

  AXAttributeReader& reader;
  PromptReading& reading;
  std::vector<TextLine> lines;
};

std::string titleOf(AXAttributeReader& reader, const AXUIElement& content, const AXUIElement& window) {
  auto title = AXHelpers::stringAttribute(reader, content, ax::kTitle);
  if (!title) title = AXHelpers::stringAttribute(reader, window, ax::kTitle);
  return title.value_or("");
}

DialogFrame frameOf(AXAttributeReader& reader, const AXUIElement& content, const AXUIElement& window) {
  auto frame = AXHelpers::frame(reader, content);
  if (!frame) frame = AXHelpers::frame(reader, window);
  return DialogFrame::of(frame.value_or(Rect{}));
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
  return DialogButton{std::move(label), std::string(ax::kButtonRole), frame->x, frame->y, frame->width, frame->height};
}

PromptReading PromptReader::readPrompt(AXAttributeReader& reader, const WindowSource& source, int descendantLimit) {
  PromptReading reading{.content = promptContentElement(reader, source.window)};
  auto& evidence = reading.evidence;
  evidence.role = AXHelpers::role(reader, reading.content);
  evidence.subrole = AXHelpers::subrole(reader, reading.content);
  evidence.title = titleOf(reader, reading.content, source.window);
  evidence.isModal = isDialogContainer(reader, reading.content);
  evidence.bundleIdentifier = source.bundleIdentifier;
  evidence.isKnownPromptService = isKnownPromptService(source.bundleIdentifier, source.appName);
  reading.frame = frameOf(reader, reading.content, source.window);
  ContentWalk walk{reader, reading};
  for (const auto& element : AXHelpers::deeplyNestedChildren(reader, reading.content, descendantLimit)) {
    walk.visit(element);
  }
  walk.finish();
  return reading;
}

}  // namespace quillard
