#include "platform/linux/accessibility/ElementAnswers.h"

#include <algorithm>
#include <utility>

#include "platform/linux/accessibility/ElementPlaces.h"
#include "platform/linux/accessibility/KeyboardFocus.h"
#include "platform/linux/accessibility/Mapping.h"
#include "platform/linux/accessibility/NodeRoles.h"
#include "platform/linux/accessibility/PressActions.h"
#include "platform/linux/accessibility/ShellWindows.h"
#include "platform/linux/accessibility/TitleBarButtons.h"

namespace quillard::atspi {

using platform::AXError;
using platform::AXResult;
using platform::AXUIElement;
using platform::AXValue;
namespace ax = platform::ax;

namespace {

// What stands above all else in a window of the shell is met early.
constexpr int kHeadingLimit = 80;
constexpr std::string_view kStandardWindowSubrole = "AXStandardWindow";
constexpr std::string_view kSystemWideRole = "AXSystemWide";

AXValue textValue(std::string_view text) {
  if (text == BusReply::kUnreadableText) return platform::AXUnreadableText{};
  return std::string(text);
}

// The name of the only label among what lies inside a button.
std::optional<std::string> labelInside(const Node& button) {
  std::optional<std::string> label;
  std::vector<Node*> stack = button.list;
  while (!stack.empty()) {
    const Node& inner = *stack.back();
    stack.pop_back();
    stack.insert(stack.end(), inner.list.begin(), inner.list.end());
    const auto name = mapping::nameOf(inner.record, button.program->toolkit);
    if (inner.record.role != Role::label || name.empty()) continue;
    if (label) return std::nullopt;
    label = name;
  }
  return label;
}

}  // namespace

AXResult<AXValue> ElementAnswers::attribute(const AXUIElement& element, platform::AXAttribute name) {
  const auto* reference = ElementReference::of(element);
  if (!reference) return AXError::invalidUIElement;
  // What only some program has is not asked of any: foreign names are of no element here.
  const auto known = name.known();
  if (reference->kind == ElementReference::Kind::systemWide) {
    return known ? ofDesktop(*known) : Value{AXError::attributeUnsupported};
  }
  const auto process = reference->processIdentifier;
  if (reading.hasMissedTimeout(process)) return AXError::cannotComplete;
  auto value = [&]() -> Value {
    if (reference->kind == ElementReference::Kind::application) {
      if (reading.programs(process).empty()) return AXError::notImplemented;
      return known ? ofApplication(process, *known) : Value{AXError::attributeUnsupported};
    }
    Node* const node = reading.node(*reference);
    if (!node) return AXError::invalidUIElement;
    if (const auto reason = whyNotAsked(*node)) return *reason;
    return known ? ofNode(*node, *known) : Value{AXError::attributeUnsupported};
  }();
  // What came in before the application fell silent, or went, may be a part only.
  if (reading.hasMissedTimeout(process) || reading.failure()) return AXError::cannotComplete;
  const bool isObject = reference->kind == ElementReference::Kind::object;
  if (isObject && reading.hasGone(reference->name.bus)) return AXError::invalidUIElement;
  return value;
}

AXResult<AXValue> ElementAnswers::role(Node& node) {
  if (const auto reason = whyNotAsked(node)) return *reason;
  return textValue(roleOf(reading, node));
}

std::optional<AXError> ElementAnswers::whyNotAsked(Node& node) {
  if (node.isTopLevel()) {
    const auto& windows = reading.windows(node.program->processIdentifier);
    if (windows.contains(node)) return std::nullopt;
    return windows.isIncomplete ? AXError::cannotComplete : AXError::invalidUIElement;
  }
  reading.fetch({{.node = &node}});
  const bool isGone = node.isUnreadable || node.record.is(State::defunct);
  return isGone ? std::optional(AXError::invalidUIElement) : std::nullopt;
}

AXResult<AXValue> ElementAnswers::ofDesktop(Attribute attribute) {
  switch (attribute) {
    case Attribute::role:
      return textValue(kSystemWideRole);
    case Attribute::focusedWindow:
      return elementOrNone(activeWindow(reading));
    case Attribute::focusedUIElement:
      return focusedElement(activeWindow(reading));
    case Attribute::subrole:
    case Attribute::title:
    case Attribute::description:
    case Attribute::value:
    case Attribute::modal:
    case Attribute::children:
    case Attribute::windows:
    case Attribute::parent:
    case Attribute::position:
    case Attribute::size:
    case Attribute::mainWindow:
    case Attribute::minimized:
    case Attribute::main:
    case Attribute::focused:
    case Attribute::frontmost:
    case Attribute::defaultButton:
    case Attribute::cancelButton:
    case Attribute::enabled:
    case Attribute::roleDescription:
      break;
  }
  return AXError::attributeUnsupported;
}

AXResult<AXValue> ElementAnswers::ofApplication(std::int32_t process, Attribute attribute) {
  // The window of the desktop that has the focus, when it is one of this process. Null: none of its windows has it.
  const auto ownActiveWindow = [&]() -> Node* {
    Node* const active = activeWindow(reading);
    return active && active->program->processIdentifier == process ? active : nullptr;
  };
  switch (attribute) {
    case Attribute::role:
      return textValue(ax::kApplicationRole);
    case Attribute::windows:
    case Attribute::children:
      return windowList(process);
    case Attribute::title:
      return applicationTitle(*reading.programs(process).front());
    case Attribute::frontmost:
      return isFrontmost(process);
    case Attribute::mainWindow:
    case Attribute::focusedWindow:
      return elementOrNone(ownActiveWindow());
    case Attribute::focusedUIElement:
      return focusedElement(ownActiveWindow());
    case Attribute::subrole:
    case Attribute::description:
    case Attribute::value:
    case Attribute::modal:
    case Attribute::parent:
    case Attribute::position:
    case Attribute::size:
    case Attribute::minimized:
    case Attribute::main:
    case Attribute::focused:
    case Attribute::defaultButton:
    case Attribute::cancelButton:
    case Attribute::enabled:
    case Attribute::roleDescription:
      break;
  }
  return AXError::attributeUnsupported;
}

// What is a window is asked only where that makes a difference, since it may take a request.
AXResult<AXValue> ElementAnswers::ofNode(Node& node, Attribute attribute) {
  const auto ofWindow = [&](Value (ElementAnswers::*answer)(Node&)) -> Value {
    return isWindowLike(reading, node) ? (this->*answer)(node) : Value{AXError::attributeUnsupported};
  };
  switch (attribute) {
    case Attribute::role:
      return textValue(roleOf(reading, node));
    case Attribute::subrole:
      return isWindowLike(reading, node) ? windowSubrole(node) : innerSubrole(node);
    case Attribute::title:
      return title(node);
    case Attribute::description:
      return description(node);
    case Attribute::value:
      return isWindowLike(reading, node) ? Value{AXError::attributeUnsupported} : valueOf(node);
    case Attribute::children:
      return children(node);
    case Attribute::parent:
      return parent(node);
    case Attribute::position:
      return position(node);
    case Attribute::size:
      return size(node);
    case Attribute::focused:
      return isWindowLike(reading, node) ? isActive(node) : AXValue{node.record.is(State::focused)};
    case Attribute::main:
      return ofWindow(&ElementAnswers::isActive);
    case Attribute::modal:
      return ofWindow(&ElementAnswers::isModal);
    case Attribute::minimized:
      return ofWindow(&ElementAnswers::isMinimized);
    case Attribute::defaultButton:
      return ofWindow(&ElementAnswers::defaultButton);
    case Attribute::cancelButton:  // No toolkit marks one.
      return isWindowLike(reading, node) ? AXError::noValue : AXError::attributeUnsupported;
    case Attribute::enabled:
      return AXValue{mapping::isEnabled(node.record)};
    case Attribute::roleDescription:
      return ofWindow(&ElementAnswers::roleDescription);
    case Attribute::windows:
    case Attribute::mainWindow:
    case Attribute::focusedWindow:
    case Attribute::focusedUIElement:
    case Attribute::frontmost:
      break;
  }
  return AXError::attributeUnsupported;
}

AXResult<AXValue> ElementAnswers::windowSubrole(Node& window) {
  // A notification asks nothing by being one.
  const bool isDialogOfShell = shell::isShell(*window.program) && window.record.role != Role::notification;
  const bool isDialog =
      !window.isTopLevel() || isDialogOfShell || mapping::isDialogWindow(window.record, reading.desktopWindow(window));
  return textValue(isDialog ? ax::kDialogSubrole : kStandardWindowSubrole);
}

AXResult<AXValue> ElementAnswers::innerSubrole(Node& node) {
  if (mapping::isSecret(node.record, node.program->toolkit)) return textValue(ax::kSecureTextFieldSubrole);
  if (mapping::isDocument(node.record)) return textValue(ax::kTextAreaSubrole);
  return AXError::attributeUnsupported;
}

AXResult<AXValue> ElementAnswers::roleDescription(Node& window) {
  // Those of the shell stand in the way of the whole desktop.
  const bool isDialogOfShell = shell::isShell(*window.program) && mapping::isDialogRole(window.record.role);
  const auto text = mapping::roleDescriptionOf(isDialogOfShell ? Role::alert : window.record.role);
  return text.empty() ? Value{AXError::noValue} : textValue(text);
}

AXResult<AXValue> ElementAnswers::isModal(Node& window) {
  return AXValue{mapping::isModal(window.record, window.isTopLevel() ? reading.desktopWindow(window) : nullptr)};
}

AXResult<AXValue> ElementAnswers::applicationTitle(ProgramNode& program) {
  reading.fetch({{.node = program.root, .isRootItself = true}});
  if (program.root->isUnreadable) return AXError::invalidUIElement;
  return textValue(program.root->record.name.value_or(""));
}

AXResult<AXValue> ElementAnswers::description(Node& node) {
  if (node.record.role == Role::pushButton && isTitleBarButton(reading, node)) return AXError::noValue;
  reading.fetch({{.node = &node, .more = {.description = true}}});
  return textValue(mapping::descriptionOf(node.record, node.program->toolkit));
}

AXResult<AXValue> ElementAnswers::isMinimized(Node& window) {
  const desktop::Window* const outer = reading.desktopWindow(window);
  const auto& record = window.window ? window.window->record : window.record;
  if (outer) return AXValue{outer->isHidden};
  if (record.is(State::iconified)) return AXValue{true};
  // Where the desktop does not tell, programs do not either: no client of Wayland knows it of its own windows.
  const bool isKnown = reading.desktopWindows().coverage == desktop::WindowCoverage::all;
  return isKnown ? Value{AXValue{false}} : Value{AXError::noValue};
}

AXResult<AXValue> ElementAnswers::isActive(Node& window) {
  const auto isActive = hasKeyboard(reading, window);
  return isActive ? Value{AXValue{*isActive}} : Value{AXError::noValue};
}

AXResult<AXValue> ElementAnswers::isFrontmost(std::int32_t process) {
  bool isKnown = true;
  for (Node* window : reading.windows(process).present) {
    const auto isActive = hasKeyboard(reading, *window);
    if (isActive.value_or(false)) return AXValue{true};
    isKnown = isKnown && isActive.has_value();
  }
  return isKnown ? Value{AXValue{false}} : Value{AXError::noValue};
}

AXResult<AXValue> ElementAnswers::title(Node& node) {
  const Toolkit toolkit = node.program->toolkit;
  if (node.isTopLevel() && shell::isShell(*node.program)) {
    reading.fetch({{.node = &node, .descendants = kHeadingLimit}});
    return textValue(shell::headingOf(node));
  }
  // GTK 3 names a message dialog after its kind ("Question"), which is not shown.
  const bool isNamedAfterKind =
      toolkit == Toolkit::gtk3 && node.record.role == Role::alert && !reading.desktopWindow(node);
  if (node.isTopLevel() && isNamedAfterKind && reading.desktopWindows().coverage != desktop::WindowCoverage::all)
    return textValue(messageTitle(reading, node));
  if (node.isTopLevel()) return textValue(mapping::windowTitle(node.record, toolkit, reading.desktopWindow(node)));
  if (node.record.role == Role::pushButton) {
    if (isTitleBarButton(reading, node)) return AXError::noValue;
    return textValue(mapping::buttonTitle(node.record, toolkit, labelInside(node)));
  }
  // The content of a text is its value.
  if (mapping::roleOf(node.record, false) == ax::kStaticTextRole || descriptionAsText(reading, node))
    return AXError::noValue;
  return textValue(mapping::nameOf(node.record, toolkit));
}

AXResult<AXValue> ElementAnswers::valueOf(Node& node) {
  const auto role = roleOf(reading, node);
  if (role == ax::kCheckBoxRole || role == ax::kRadioButtonRole) {
    if (node.record.is(State::indeterminate)) return AXValue{std::int64_t{2}};  // Neither on nor off.
    return AXValue{std::int64_t{node.record.is(State::checked) ? 1 : 0}};
  }
  if (role != ax::kStaticTextRole && role != ax::kTextFieldRole) return AXError::attributeUnsupported;
  if (const auto said = descriptionAsText(reading, node)) return textValue(*said);
  const auto shown = mapping::textOf(node.record, node.program->toolkit);
  return shown ? Value{textValue(*shown)} : Value{AXError::noValue};
}

AXResult<AXValue> ElementAnswers::children(Node& node) {
  reading.fetch({{.node = &node, .descendants = static_cast<int>(NodeTree::kMostNodes), .levels = 1}});
  if (node.hasUnreadableList) return AXError::failure;
  std::vector<AXUIElement> elements;
  for (const Node* child : offeredChildren(node)) elements.push_back(reading.element(*child));
  if (node.isTopLevel()) {
    const Node* const sheet = reading.windows(node.program->processIdentifier).sheetOf(node);
    if (sheet) elements.push_back(reading.element(*sheet));
  }
  return AXValue{std::move(elements)};
}

AXResult<AXValue> ElementAnswers::windowList(std::int32_t process) {
  const auto& windows = reading.windows(process);
  if (windows.isIncomplete) return AXError::cannotComplete;
  std::vector<AXUIElement> elements;
  for (const Node* window : windows.present) {
    if (!windows.sheetParent(*window)) elements.push_back(reading.element(*window));
  }
  return AXValue{std::move(elements)};
}

AXResult<AXValue> ElementAnswers::parent(Node& node) {
  const auto process = node.program->processIdentifier;
  if (node.isTopLevel()) {
    const Node* const owner = reading.windows(process).sheetParent(node);
    return AXValue{owner ? reading.element(*owner) : ElementReference::application(process)};
  }
  return elementOrNone(reading.parent(node));
}

AXResult<AXValue> ElementAnswers::elementOrNone(Node* node) {
  return node ? Value{AXValue{reading.element(*node)}} : Value{AXError::noValue};
}

AXResult<AXValue> ElementAnswers::position(Node& node) {
  const auto rect = frameOf(reading, node);
  return rect ? Value{AXValue{Point{rect->x, rect->y}}} : Value{AXError::noValue};
}

AXResult<AXValue> ElementAnswers::size(Node& node) {
  const auto rect = frameOf(reading, node);
  return rect ? Value{AXValue{Size{rect->width, rect->height}}} : Value{AXError::noValue};
}

AXResult<AXValue> ElementAnswers::defaultButton(Node& window) {
  return elementOrNone(defaultButtonOf(reading, window));
}

AXResult<AXValue> ElementAnswers::focusedElement(Node* window) {
  return window ? elementOrNone(focusedIn(reading, *window)) : Value{AXError::noValue};
}

AXResult<std::vector<std::string>> ElementAnswers::actionNames(const AXUIElement& element) {
  const auto* reference = ElementReference::of(element);
  if (!reference) return AXError::invalidUIElement;
  if (reference->kind != ElementReference::Kind::object) return std::vector<std::string>{};
  const auto process = reference->processIdentifier;
  if (reading.hasMissedTimeout(process)) return AXError::cannotComplete;
  Node* const node = reading.node(*reference);
  if (!node) return AXError::invalidUIElement;
  const auto role = this->role(*node);
  std::vector<std::string> actions;
  if (role.hasValue() && isWindowLike(reading, *node)) {
    if (reading.desktopWindow(*node)) actions.emplace_back(ax::kRaiseAction);
  } else if (role.hasValue() && isPressable(reading, *node)) {
    actions.emplace_back(ax::kPressAction);
  }
  if (reading.hasMissedTimeout(process)) return AXError::cannotComplete;
  if (reading.hasGone(reference->name.bus)) return AXError::invalidUIElement;
  if (!role.hasValue()) return role.error();
  return actions;
}

}  // namespace quillard::atspi
