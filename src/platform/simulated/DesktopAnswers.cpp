#include "platform/simulated/DesktopAnswers.h"

#include <cstdint>
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

using Answer = std::optional<AXResult<AXValue>>;
using Attribute = AXKnownAttribute;

Answer elementAnswer(const DesktopState& state, std::optional<NodeHandle> node) {
  return node ? AXResult<AXValue>{AXValue{state.nodeElement(*node)}} : AXResult<AXValue>{AXError::noValue};
}

// What follows from the state of the desktop. Absent: nothing does, so that a test has to set it.
Answer ofApplication(const DesktopState& state, const ApplicationState& application, Attribute attribute) {
  switch (attribute) {
    case Attribute::role:
      return AXValue{std::string(ax::kApplicationRole)};
    case Attribute::title:
      return application.facts.localizedName ? Answer{AXValue{*application.facts.localizedName}} : std::nullopt;
    case Attribute::windows:
    case Attribute::children:
      return AXValue{elements(state, application.windows)};
    case Attribute::frontmost:
      return AXValue{application.facts.isActive};
    case Attribute::mainWindow:
      return elementAnswer(state, application.mainWindow);
    case Attribute::focusedWindow:
      return elementAnswer(state, application.focusedWindow);
    case Attribute::focusedUIElement:
      return elementAnswer(state, application.focusedElement);
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
  return std::nullopt;
}

Answer ofNode(const DesktopState& state, NodeHandle handle, const ElementNode& node, Attribute attribute) {
  const ApplicationState* const owner = state.find(node.processIdentifier);
  switch (attribute) {
    case Attribute::children:
      return AXValue{elements(state, node.children)};
    case Attribute::parent:
      return AXValue{node.parent ? state.nodeElement(*node.parent)
                                 : state.element({ElementKind::application, node.processIdentifier, {}})};
    case Attribute::focused:
      if (!owner) break;
      return AXValue{owner->focusedWindow == handle || owner->focusedElement == handle};
    case Attribute::main:
      if (!owner || !state.isWindow(handle)) break;
      return AXValue{owner->mainWindow == handle};
    case Attribute::role:
    case Attribute::subrole:
    case Attribute::title:
    case Attribute::description:
    case Attribute::value:
    case Attribute::modal:
    case Attribute::windows:
    case Attribute::position:
    case Attribute::size:
    case Attribute::mainWindow:
    case Attribute::focusedWindow:
    case Attribute::focusedUIElement:
    case Attribute::minimized:
    case Attribute::frontmost:
    case Attribute::defaultButton:
    case Attribute::cancelButton:
    case Attribute::enabled:
    case Attribute::roleDescription:
      break;
  }
  return std::nullopt;
}

Answer ofSystem(const DesktopState& state, Attribute attribute) {
  const ApplicationState* const front = state.front();
  if (attribute == Attribute::focusedWindow) return elementAnswer(state, front ? front->focusedWindow : std::nullopt);
  if (attribute != Attribute::focusedUIElement) return std::nullopt;
  return elementAnswer(state, front ? front->focusedElement : std::nullopt);
}

template <class Of>
AttributeMap answersOf(Of of) {
  AttributeMap answers;
  for (std::uint8_t i = 0; i < kKnownCount<Attribute>; ++i) {
    const auto attribute = static_cast<Attribute>(i);
    if (auto answer = of(attribute)) put(answers, nameOf(attribute), *std::move(answer));
  }
  return answers;
}

void override(AttributeMap& answers, const AttributeMap& set) {
  for (const auto& [name, answer] : set) put(answers, name, answer);
}

}  // namespace

AXResult<AttributeMap> attributeAnswers(const DesktopState& state, const ElementTarget& target) {
  if (target.kind == ElementKind::systemWide) {
    AttributeMap answers = answersOf([&](Attribute attribute) { return ofSystem(state, attribute); });
    override(answers, state.systemWide);
    return answers;
  }
  if (target.kind == ElementKind::application) {
    const ApplicationState* const application = state.running(target.processIdentifier);
    if (!application) return AXError::invalidUIElement;
    AttributeMap answers =
        answersOf([&](Attribute attribute) { return ofApplication(state, *application, attribute); });
    override(answers, application->attributes);
    return answers;
  }
  const ElementNode* const node = state.tree.find(target.node);
  if (!node) return AXError::invalidUIElement;
  AttributeMap answers = answersOf([&](Attribute attribute) { return ofNode(state, target.node, *node, attribute); });
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
