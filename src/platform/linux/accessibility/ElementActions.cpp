#include "platform/linux/accessibility/ElementActions.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/linux/accessibility/ElementPlaces.h"
#include "platform/linux/accessibility/Interfaces.h"
#include "platform/linux/accessibility/NodeRoles.h"
#include "platform/linux/accessibility/PressActions.h"
#include "platform/linux/accessibility/ShellPress.h"
#include "platform/linux/accessibility/ShellWindows.h"

namespace quillard::atspi {

using platform::AXError;
using platform::AXResult;
using platform::AXUIElement;
using platform::AXValue;
using Kind = ElementReference::Kind;
namespace ax = platform::ax;

namespace {

// Its buttons answer a press with True and do nothing.
constexpr const char* kDeafProgram = "mate-notification-daemon";

bool isTrue(const AXValue& value) {
  const auto* flag = std::get_if<bool>(&value);
  return flag && *flag;
}

}  // namespace

AXResult<Node*> ElementActions::living(const ElementReference& reference) {
  Node* const node = reading.node(reference);
  if (!node) return AXError::invalidUIElement;
  const auto role = answers.role(*node);
  if (reading.hasMissedTimeout(reference.processIdentifier)) return AXError::cannotComplete;
  if (!role.hasValue()) return role.error();
  return node;
}

AXError ElementActions::perform(const AXUIElement& element, platform::AXAction action) {
  const auto* reference = ElementReference::of(element);
  if (!reference) return AXError::invalidUIElement;
  if (reference->kind != Kind::object) return AXError::actionUnsupported;
  const auto node = living(*reference);
  if (!node.hasValue()) return node.error();
  const auto known = action.known();
  return known ? performKnown(*node.value(), *known) : AXError::actionUnsupported;
}

AXError ElementActions::performKnown(Node& node, platform::AXKnownAction action) {
  const bool isWindow = isWindowLike(reading, node);
  switch (action) {
    case platform::AXKnownAction::press:
      return isWindow ? AXError::actionUnsupported : press(node);
    case platform::AXKnownAction::raise:
      return isWindow ? bringForward(reading.desktopWindow(node), true) : AXError::actionUnsupported;
    case platform::AXKnownAction::confirm:
    case platform::AXKnownAction::cancel:
      break;  // No toolkit offers them of a window.
  }
  return AXError::actionUnsupported;
}

AXError ElementActions::press(Node& node) {
  if (shell::isShell(*node.program))
    return ShellPress{reading, sessionBusAddress, systemBusAddress, slowShellTimeout}.press(node);
  if (isDeaf(node)) return AXError::notImplemented;
  const auto number = pressAction(reading, node);
  if (reading.hasMissedTimeout(node.program->processIdentifier)) return AXError::cannotComplete;
  if (!number) return AXError::actionUnsupported;
  return askYesOrNo({.target = node.name, .interface = names::kAction, .member = "DoAction", .arguments = {*number}});
}

// Its notifications are windows that no desktop lists.
bool ElementActions::isDeaf(Node& node) {
  if (node.program->toolkit != Toolkit::gtk3 || reading.desktopWindow(node)) return false;
  reading.fetch({{.node = node.program->root, .isRootItself = true}});
  return node.program->root->record.name == kDeafProgram;
}

AXError ElementActions::grabFocus(Node& node) {
  return askYesOrNo({.target = node.name, .interface = names::kComponent, .member = "GrabFocus"});
}

AXError ElementActions::askYesOrNo(BusCall call) {
  AXError error = AXError::failure;
  auto& requests = reading.direct();
  requests.send(std::move(call), reading.messagingTimeout(), [&](const BusReply& reply) {
    switch (reply.outcome()) {
      case CallOutcome::answered:
        error = reply.readBoolean().value_or(false) ? AXError::success : AXError::failure;
        return;
      case CallOutcome::timedOut:
      case CallOutcome::gone:  // It may have acted, and gone for that.
        error = AXError::cannotComplete;
        return;
      case CallOutcome::refused:
        error = AXError::failure;
        return;
    }
  });
  requests.settle();
  return error;
}

AXError ElementActions::bringForward(const desktop::Window* window, bool always) {
  if (!window) return AXError::actionUnsupported;
  const bool isForward = !window->isHidden && reading.desktopWindows().active == window->id;
  if (isForward && !always) return AXError::success;
  return windows.activate(window->id) ? AXError::success : AXError::cannotComplete;
}

AXError ElementActions::set(const AXUIElement& element, platform::AXAttribute name, const AXValue& value) {
  const auto* reference = ElementReference::of(element);
  if (!reference) return AXError::invalidUIElement;
  if (reference->kind == Kind::systemWide) return AXError::attributeUnsupported;
  if (reference->kind == Kind::application) return setOfApplication(reference->processIdentifier, name, value);
  const auto node = living(*reference);
  if (!node.hasValue()) return node.error();
  if (isWindowLike(reading, *node.value())) return setOfWindow(*node.value(), name, value);
  if (name != ax::kFocused) return AXError::attributeUnsupported;
  // A focus that is left on a button of the shell makes the user's next Return a press.
  if (shell::isShell(*node.value()->program)) return AXError::actionUnsupported;
  return isTrue(value) ? grabFocus(*node.value()) : AXError::illegalArgument;
}

AXError ElementActions::setOfApplication(std::int32_t process, platform::AXAttribute name, const AXValue& value) {
  const auto& own = reading.windows(process);
  if (reading.hasMissedTimeout(process)) return AXError::cannotComplete;
  if (name == ax::kFocusedWindow) {
    const auto* element = std::get_if<AXUIElement>(&value);
    const auto* reference = element ? ElementReference::of(*element) : nullptr;
    if (!reference || reference->kind != Kind::object || reference->processIdentifier != process) {
      return AXError::illegalArgument;
    }
    Node* const node = reading.node(*reference);
    return node ? bringForward(reading.desktopWindow(*node), false) : AXError::invalidUIElement;
  }
  if (name != ax::kFrontmost) return AXError::attributeUnsupported;
  if (!isTrue(value)) return AXError::illegalArgument;
  const auto& desktop = reading.desktopWindows();
  const desktop::Window* uppermost = nullptr;
  for (const auto& window : desktop.windows) {
    const bool isOwn = std::any_of(own.desktopWindows.begin(), own.desktopWindows.end(),
                                   [&](const auto& entry) { return entry.second == &window; });
    if (!isOwn) continue;
    if (desktop.active == window.id) return AXError::success;
    if (!uppermost || !window.isHidden || uppermost->isHidden) uppermost = &window;
  }
  return bringForward(uppermost, false);
}

AXError ElementActions::setOfWindow(Node& window, platform::AXAttribute name, const AXValue& value) {
  const desktop::Window* const outer = reading.desktopWindow(window);
  if (name == ax::kMinimized) {
    if (!std::holds_alternative<bool>(value)) return AXError::illegalArgument;
    if (isTrue(value)) return AXError::attributeUnsupported;  // The agent never puts a window away.
    if (!outer) return AXError::cannotComplete;
    return outer->isHidden ? bringForward(outer, true) : AXError::success;
  }
  if (name != ax::kMain && name != ax::kFocused) return AXError::attributeUnsupported;
  return isTrue(value) ? bringForward(outer, false) : AXError::illegalArgument;
}

// The X server is asked, not the list: what covers a window there need not be in it.
const desktop::Window* ElementActions::topmostAt(Point point) {
  const auto top = windows.windowAt(point);
  const auto& known = reading.desktopWindows().windows;
  const auto found = std::find_if(known.begin(), known.end(), [&](const auto& window) { return window.id == top; });
  return found == known.end() ? nullptr : &*found;
}

AXResult<AXUIElement> ElementActions::elementAt(const AXUIElement& within, Point point) {
  const auto* reference = ElementReference::of(within);
  if (!reference) return AXError::invalidUIElement;
  if (reference->kind == Kind::object) return AXError::illegalArgument;
  const desktop::Window* const top = topmostAt(point);
  if (!top || !top->processIdentifier) return AXError::noValue;
  const auto process = *top->processIdentifier;
  if (reference->kind == Kind::application && reference->processIdentifier != process) return AXError::noValue;
  const auto& own = reading.windows(process);
  const auto owner = std::find_if(own.present.begin(), own.present.end(),
                                  [&](const Node* window) { return own.desktopWindow(window) == top; });
  if (owner == own.present.end()) {
    return reading.hasMissedTimeout(process) ? AXError::cannotComplete : AXError::noValue;
  }
  const Node& deepest = deepestAt(reading, **owner, point);
  if (reading.hasMissedTimeout(process)) return AXError::cannotComplete;
  return reading.element(deepest);
}

}  // namespace quillard::atspi
