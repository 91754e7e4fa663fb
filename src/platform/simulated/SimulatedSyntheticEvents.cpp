#include "platform/simulated/SimulatedSyntheticEvents.h"

#include <string>
#include <utility>
#include <variant>

namespace quillard::platform::simulated {

namespace {

class SimulatedEvent final : public SyntheticEvent {
 public:
  explicit SimulatedEvent(const PostedEvent& event) : event(event) {}
  const PostedEvent event;
};

}  // namespace

std::unique_ptr<SyntheticEvent> SimulatedSyntheticEvents::createMouseEvent(MouseEventType type, Point position) {
  return create({.mouse = type, .position = position, .isDown = type == MouseEventType::leftMouseDown});
}

std::unique_ptr<SyntheticEvent> SimulatedSyntheticEvents::createKeyboardEvent(KeyCode key, bool isDown) {
  return create({.key = key, .isDown = isDown});
}

std::unique_ptr<SyntheticEvent> SimulatedSyntheticEvents::create(const PostedEvent& event) {
  if (failing.contains(created++)) return nullptr;
  return std::make_unique<SimulatedEvent>(event);
}

bool SimulatedSyntheticEvents::postToProcess(std::int32_t processIdentifier, const SyntheticEvent& event) {
  if (!reachesProcesses) return false;
  post(processIdentifier, event);
  return true;
}

bool SimulatedSyntheticEvents::postToDesktop(const SyntheticEvent& event,
                                             std::optional<std::int32_t> /*expectedOwner*/) {
  if (!reachesDesktop) return false;
  post(std::nullopt, event);
  return true;
}

void SimulatedSyntheticEvents::post(std::optional<std::int32_t> processIdentifier, const SyntheticEvent& event) {
  PostedEvent posted = dynamic_cast<const SimulatedEvent&>(event).event;
  posted.at = clock.monotonicNow();
  posted.processIdentifier = processIdentifier;
  allPosted.push_back(posted);
  if (losesEvents) return;
  if (posted.mouse) takeMouse(posted);
  if (posted.key) takeKey(posted);
}

void SimulatedSyntheticEvents::takeMouse(const PostedEvent& event) {
  if (*event.mouse == MouseEventType::leftMouseDown) heldDown = buttonUnder(event);
  if (*event.mouse != MouseEventType::leftMouseUp) return;
  const auto held = std::exchange(heldDown, std::nullopt);
  if (held && held == buttonUnder(event)) desktop.pressByHand(*held);
}

void SimulatedSyntheticEvents::takeKey(const PostedEvent& event) {
  if (!event.isDown) return;
  const auto focused =
      event.processIdentifier ? desktop.focused(ApplicationHandle{*event.processIdentifier}) : desktop.focused();
  const auto button = focused ? buttonFor(*event.key, *focused) : std::nullopt;
  if (button) desktop.pressByHand(*button);
}

std::optional<NodeHandle> SimulatedSyntheticEvents::buttonUnder(const PostedEvent& event) const {
  auto node = event.processIdentifier ? desktop.nodeAt(ApplicationHandle{*event.processIdentifier}, event.position)
                                      : desktop.nodeAt(event.position);
  while (node && !isButton(*node)) node = desktop.parent(*node);
  return node;
}

std::optional<NodeHandle> SimulatedSyntheticEvents::buttonFor(KeyCode key, NodeHandle focused) const {
  const bool pressesFocused = key == KeyCode::space || (key == KeyCode::returnKey && returnPressesFocusedButton);
  if (pressesFocused && isButton(focused)) return focused;
  const auto window = desktop.promptOf(focused);
  if (key == KeyCode::space || !window) return std::nullopt;
  return namedButton(*window, key == KeyCode::returnKey ? ax::kDefaultButton : ax::kCancelButton);
}

bool SimulatedSyntheticEvents::isButton(NodeHandle node) const {
  const auto role = desktop.attribute(node, ax::kRole);
  const auto* const text = role.hasValue() ? std::get_if<std::string>(&role.value()) : nullptr;
  return text && *text == ax::kButtonRole;
}

std::optional<NodeHandle> SimulatedSyntheticEvents::namedButton(NodeHandle window, std::string_view attribute) const {
  const auto answer = desktop.attribute(window, attribute);
  const auto* const element = answer.hasValue() ? std::get_if<AXUIElement>(&answer.value()) : nullptr;
  return element ? desktop.node(*element) : std::nullopt;
}

}  // namespace quillard::platform::simulated
