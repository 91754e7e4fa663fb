#include "platform/simulated/DesktopAnswers.h"

#include <optional>
#include <utility>

namespace quillard::platform::simulated {

namespace {

std::vector<AXUIElement> elements(const DesktopState& state, const std::vector<NodeHandle>& nodes) {
  std::vector<AXUIElement> handles;
  for (const NodeHandle node : nodes) handles.push_back(state.nodeElement(node));
  return handles;
}

void put(AttributeMap& answers, std::string_view name, AXResult<AXValue> answer) {
  answers.insert_or_assign(std::string(name), std::move(answer));
}

void putElement(AttributeMap& answers, std::string_view name, const DesktopState& state,
                std::optional<NodeHandle> node) {
  if (node) {
    put(answers, name, AXValue{state.nodeElement(*node)});
  } else {
    put(answers, name, AXError::noValue);
  }
}

AttributeMap answersOf(const DesktopState& state, const ApplicationState& application) {
  AttributeMap answers;
  put(answers, ax::kRole, AXValue{std::string(ax::kApplicationRole)});
  if (application.facts.localizedName) put(answers, ax::kTitle, AXValue{*application.facts.localizedName});
  put(answers, ax::kWindows, AXValue{elements(state, application.windows)});
  put(answers, ax::kChildren, AXValue{elements(state, application.windows)});
  put(answers, ax::kFrontmost, AXValue{application.facts.isActive});
  putElement(answers, ax::kMainWindow, state, application.mainWindow);
  putElement(answers, ax::kFocusedWindow, state, application.focusedWindow);
  putElement(answers, ax::kFocusedUIElement, state, application.focusedElement);
  return answers;
}

AttributeMap answersOf(const DesktopState& state, NodeHandle handle, const ElementNode& node) {
  AttributeMap answers;
  const ApplicationState* const owner = state.find(node.processIdentifier);
  put(answers, ax::kChildren, AXValue{elements(state, node.children)});
  put(answers, ax::kParent,
      AXValue{node.parent ? state.nodeElement(*node.parent)
                          : state.element({ElementKind::application, node.processIdentifier, {}})});
  if (owner) {
    const bool isFocused = owner->focusedWindow == handle || owner->focusedElement == handle;
    put(answers, ax::kFocused, AXValue{isFocused});
    if (state.isWindow(handle)) put(answers, ax::kMain, AXValue{owner->mainWindow == handle});
  }
  return answers;
}

AttributeMap systemWideAnswers(const DesktopState& state) {
  const ApplicationState* const front = state.front();
  AttributeMap answers;
  putElement(answers, ax::kFocusedWindow, state, front ? front->focusedWindow : std::nullopt);
  putElement(answers, ax::kFocusedUIElement, state, front ? front->focusedElement : std::nullopt);
  return answers;
}

void override(AttributeMap& answers, const AttributeMap& set) {
  for (const auto& [name, answer] : set) put(answers, name, answer);
}

}  // namespace

AXResult<AttributeMap> attributeAnswers(const DesktopState& state, const ElementTarget& target) {
  if (target.kind == ElementKind::systemWide) {
    AttributeMap answers = systemWideAnswers(state);
    override(answers, state.systemWide);
    return answers;
  }
  if (target.kind == ElementKind::application) {
    const ApplicationState* const application = state.running(target.processIdentifier);
    if (!application) return AXError::invalidUIElement;
    AttributeMap answers = answersOf(state, *application);
    override(answers, application->attributes);
    return answers;
  }
  const ElementNode* const node = state.tree.find(target.node);
  if (!node) return AXError::invalidUIElement;
  AttributeMap answers = answersOf(state, target.node, *node);
  override(answers, node->attributes);
  if (state.tree.text(target.node, ax::kSubrole) == ax::kSecureTextFieldSubrole) {
    put(answers, ax::kValue, AXError::noValue);
  }
  return answers;
}

AXResult<AXValue> attributeAnswer(const DesktopState& state, const ElementTarget& target, std::string_view name) {
  const AXResult<AttributeMap> answers = attributeAnswers(state, target);
  if (!answers.hasValue()) return answers.error();
  const auto found = answers.value().find(name);
  return found == answers.value().end() ? AXResult<AXValue>{AXError::attributeUnsupported} : found->second;
}

AXResult<std::vector<std::string>> actionNamesAnswer(const DesktopState& state, const ElementTarget& target) {
  switch (target.kind) {
    case ElementKind::systemWide:
      return std::vector<std::string>{};
    case ElementKind::application:
      if (!state.running(target.processIdentifier)) return AXError::invalidUIElement;
      return std::vector<std::string>{};
    default:
      break;
  }
  const ElementNode* const node = state.tree.find(target.node);
  if (!node) return AXError::invalidUIElement;
  if (node->actionsError) return *node->actionsError;
  return node->actions;
}

}  // namespace quillard::platform::simulated
