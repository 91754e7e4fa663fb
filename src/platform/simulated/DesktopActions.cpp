#include "platform/simulated/DesktopActions.h"

#include <algorithm>
#include <variant>

#include "platform/simulated/DesktopAnswers.h"

namespace quillard::platform::simulated {

namespace {

// The error that was set for the attribute.
std::optional<AXError> setError(const AttributeMap& attributes, std::string_view name) {
  const auto found = attributes.find(name);
  if (found == attributes.end() || found->second.hasValue()) return std::nullopt;
  return found->second.error();
}

}  // namespace

AXError DesktopActions::perform(const ElementTarget& target, AXAction action) {
  if (target.kind != ElementKind::node) return AXError::actionUnsupported;
  const ElementNode* const node = state.tree.find(target.node);
  if (!node) return AXError::invalidUIElement;
  if (std::find(node->actions.begin(), node->actions.end(), action) == node->actions.end()) {
    return AXError::actionUnsupported;
  }
  if (action == ax::kPressAction) return press(target.node);
  const auto found = node->effects.find(action);
  if (found == node->effects.end()) return performItself(target.node, action);
  const PressEffect effect = found->second;  // The node may go with what it does.
  effect.act(desktop, target.node);
  return effect.answer();
}

AXError DesktopActions::press(NodeHandle button) {
  const ElementNode* const node = state.tree.find(button);
  if (!node) return AXError::invalidUIElement;
  const auto found = node->effects.find(ax::kPressAction);
  const bool isButton = state.tree.text(button, ax::kRole) == ax::kButtonRole;
  const PressEffect effect = found != node->effects.end() ? found->second
                             : isButton                   ? PressEffect::closes()
                                                          : PressEffect::doesNothing();
  allPresses.push_back({.at = clock.monotonicNow(),
                        .window = state.tree.promptOf(button).value_or(NodeHandle{}),
                        .button = button,
                        .root = state.tree.rootOf(button).value_or(NodeHandle{}),
                        .label = state.tree.label(button),
                        .answer = effect.answer(),
                        .isTaken = effect.isTaken()});
  effect.act(desktop, button);
  return effect.answer();
}

// What an element does of itself when it offers the action, and nothing else was set for it. One that only some
// application has is accepted, and nothing comes of it.
AXError DesktopActions::performItself(NodeHandle node, AXAction action) {
  const auto known = action.known();
  if (!known) return AXError::success;
  switch (*known) {
    case AXKnownAction::press:
      return press(node);
    case AXKnownAction::confirm:
      return pressNamedButton(node, ax::kDefaultButton);
    case AXKnownAction::cancel:
      return pressNamedButton(node, ax::kCancelButton);
    case AXKnownAction::raise:
      state.raise(state.tree.rootOf(node).value_or(node));
      state.setMainWindow(state.tree.rootOf(node).value_or(node));
      break;
  }
  return AXError::success;
}

// A window that names no such button accepts, and nothing comes of it.
AXError DesktopActions::pressNamedButton(NodeHandle window, AXAttribute attribute) {
  const auto answer = attributeAnswer(state, {ElementKind::node, 0, window}, attribute);
  const auto* const element = answer.hasValue() ? std::get_if<AXUIElement>(&answer.value()) : nullptr;
  const auto target = element ? state.target(*element) : std::nullopt;
  return target && state.tree.find(target->node) ? press(target->node) : AXError::success;
}

AXError DesktopActions::set(const ElementTarget& target, AXAttribute name, const AXValue& value) {
  if (target.kind == ElementKind::systemWide) return AXError::attributeUnsupported;
  if (target.kind == ElementKind::application) {
    ApplicationState* const application = state.running(target.processIdentifier);
    return application ? setOfApplication(*application, name, value) : AXError::invalidUIElement;
  }
  return state.tree.find(target.node) ? setOfNode(target.node, name, value) : AXError::invalidUIElement;
}

AXError DesktopActions::setOfApplication(ApplicationState& application, AXAttribute name, const AXValue& value) {
  if (const auto error = setError(application.attributes, name)) return *error;
  if (name == ax::kFrontmost) {
    const auto* const isFront = std::get_if<bool>(&value);
    if (!isFront) return AXError::illegalArgument;
    if (*isFront) state.activate(application.facts.processIdentifier);
    return AXError::success;
  }
  if (name != ax::kFocusedWindow && name != ax::kMainWindow) return AXError::attributeUnsupported;
  const auto* const element = std::get_if<AXUIElement>(&value);
  const auto target = element ? state.target(*element) : std::nullopt;
  if (!target || target->processIdentifier != application.facts.processIdentifier) return AXError::illegalArgument;
  if (!state.tree.find(target->node)) return AXError::invalidUIElement;
  if (name == ax::kFocusedWindow) {
    state.setFocusedWindow(target->node);
  } else {
    state.setMainWindow(target->node);
  }
  return AXError::success;
}

AXError DesktopActions::setOfNode(NodeHandle handle, AXAttribute name, const AXValue& value) {
  ElementNode& node = *state.tree.find(handle);
  if (const auto error = setError(node.attributes, name)) return *error;
  const bool isWindow = state.isWindow(handle);
  const bool isSettable = name == ax::kFocused || (isWindow && (name == ax::kMain || name == ax::kMinimized));
  if (!isSettable) return AXError::attributeUnsupported;
  const auto* const isOn = std::get_if<bool>(&value);
  if (!isOn) return AXError::illegalArgument;
  if (name == ax::kMinimized) {
    node.attributes.insert_or_assign(std::string(name), value);
    state.windowsChanged();
  } else if (*isOn && name == ax::kMain) {
    state.setMainWindow(handle);
  } else if (*isOn && state.tree.promptOf(handle) == handle) {
    state.setFocusedWindow(handle);
  } else if (*isOn) {
    state.focusElement(handle);
  }
  return AXError::success;
}

std::optional<std::string> DesktopActions::pressed(NodeHandle window) const {
  const auto newest = std::find_if(allPresses.rbegin(), allPresses.rend(), [&](const Press& press) {
    return press.isTaken && (press.window == window || press.root == window);
  });
  return newest == allPresses.rend() ? std::nullopt : std::optional{newest->label};
}

}  // namespace quillard::platform::simulated
