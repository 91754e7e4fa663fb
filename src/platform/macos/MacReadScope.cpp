#include "platform/macos/MacReadScope.h"

#include <utility>

#include "platform/macos/AXRequests.h"

namespace quillard::macos {
namespace {

using platform::AXError;
using platform::AXResult;
using platform::AXUIElement;
using platform::AXValue;
namespace ax = platform::ax;

using Attribute = platform::AXKnownAttribute;
using Names = std::vector<platform::AXAttribute>;

// The attributes that one request brings of an application. The focused element and the state at the front change from
// read to read and are asked for alone, as is what an application does not have.
const Names& batchOfApplication(Attribute attribute) {
  static const Names batch{ax::kRole, ax::kTitle, ax::kWindows, ax::kMainWindow, ax::kFocusedWindow};
  static const Names alone;
  switch (attribute) {
    case Attribute::role:
    case Attribute::title:
    case Attribute::windows:
    case Attribute::mainWindow:
    case Attribute::focusedWindow:
      return batch;
    case Attribute::subrole:
    case Attribute::description:
    case Attribute::value:
    case Attribute::modal:
    case Attribute::children:
    case Attribute::parent:
    case Attribute::position:
    case Attribute::size:
    case Attribute::focusedUIElement:
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
  return alone;
}

// The same of any other element: what a walk asks each of them for.
const Names& batchOfNode(Attribute attribute) {
  static const Names batch{ax::kRole,     ax::kSubrole, ax::kTitle,    ax::kDescription, ax::kModal,
                           ax::kChildren, ax::kParent,  ax::kPosition, ax::kSize,        ax::kEnabled};
  static const Names value{ax::kSubrole, ax::kValue};
  static const Names alone;
  switch (attribute) {
    case Attribute::role:
    case Attribute::subrole:
    case Attribute::title:
    case Attribute::description:
    case Attribute::modal:
    case Attribute::children:
    case Attribute::parent:
    case Attribute::position:
    case Attribute::size:
    case Attribute::enabled:
      return batch;
    case Attribute::value:
      return value;
    case Attribute::windows:
    case Attribute::mainWindow:
    case Attribute::focusedWindow:
    case Attribute::focusedUIElement:
    case Attribute::minimized:
    case Attribute::main:
    case Attribute::focused:
    case Attribute::frontmost:
    case Attribute::defaultButton:
    case Attribute::cancelButton:
    case Attribute::roleDescription:
      break;
  }
  return alone;
}

// What is asked for together with `name`, itself among it: nothing when it is asked for alone, as all is that the
// system-wide element is asked for (the focus), and all that only some application has.
const Names& batchOf(AXElementKind kind, platform::AXAttribute name) {
  static const Names alone;
  const auto known = name.known();
  if (!known || kind == AXElementKind::systemWide) return alone;
  return kind == AXElementKind::application ? batchOfApplication(*known) : batchOfNode(*known);
}

// Of a value whose subrole is known to say so.
std::optional<AXError> knownRefusal(platform::AXAttribute name, const MacReadScope::Answers& known) {
  const auto subrole = known.find(ax::kSubrole);
  if (name != ax::kValue || subrole == known.end()) return std::nullopt;
  return refusalOfValue(subrole->second);
}

}  // namespace

AXResult<AXUIElement> MacReadScope::addressee(const AXUIElement& element, platform::AXAttribute name) {
  if (!isQuestionOfFocus(element, name)) return addresseeOf(element);
  const AXElement& systemWide = *elementOf(element);
  if (!withKeyboard) {
    withKeyboard = calls.run([&] { return applicationWithKeyboard(systemWide, frontmost); });
    note(withKeyboard->error(), systemWide);
  }
  return addresseeOfFocus(*withKeyboard);
}

AXResult<AXValue> MacReadScope::copyAttributeValue(const AXUIElement& element, platform::AXAttribute name) {
  const auto found = addressee(element, name);
  if (!found.hasValue()) return found.error();
  const AXElement& asked = *elementOf(found.value());
  if (hasMissed(asked)) return AXError::cannotComplete;
  Known& known = answers[element];
  auto& attributes = known.attributes;
  if (const auto answer = attributes.find(name); answer != attributes.end()) return answer->second;
  if (const auto refusal = knownRefusal(name, attributes)) return *refusal;
  if (!readBatch(asked, batchOf(elementOf(element)->elementKind(), name), known)) return AXError::cannotComplete;
  if (const auto answer = attributes.find(name); answer != attributes.end()) return answer->second;
  auto answer = calls.run([&] { return readAttribute(asked, name); });
  note(answer.error(), asked);
  return attributes.emplace(name, std::move(answer)).first->second;
}

bool MacReadScope::readBatch(const AXElement& element, const std::vector<platform::AXAttribute>& names, Known& known) {
  if (names.empty() || known.takesNoLists) return true;
  auto batch = calls.run([&] { return readAttributes(element, names); });
  if (batch.error() == AXError::cannotComplete) {
    note(AXError::cannotComplete, element);
    return false;
  }
  note(batch.error(), element);
  known.takesNoLists = isBatchRefused(batch.error());
  for (std::size_t i = 0; i < names.size() && !known.takesNoLists; ++i) {
    // Without a list, the error is true of each: the element is gone, or this process may not ask.
    known.attributes.emplace(names[i], batch.hasValue() ? batch.value()[i] : Answer(batch.error()));
  }
  return true;
}

AXResult<std::vector<std::string>> MacReadScope::copyActionNames(const AXUIElement& element) {
  const auto found = addresseeOf(element);
  if (!found.hasValue()) return found.error();
  const AXElement& asked = *elementOf(found.value());
  if (hasMissed(asked)) return AXError::cannotComplete;
  Known& known = answers[element];
  if (!known.actionNames) {
    known.actionNames = calls.run([&] { return readActionNames(asked); });
    note(known.actionNames->error(), asked);
  }
  return *known.actionNames;
}

void MacReadScope::prepareApplications(std::span<const AXUIElement>, int) {}

bool MacReadScope::missedTimeout(const AXUIElement& element) const {
  const AXElement* const own = elementOf(element);
  return own && hasMissed(*own);
}

std::optional<platform::DesktopReadFailure> MacReadScope::desktopFailure() const {
  return wasRefused && !wasAnswered ? std::optional(platform::DesktopReadFailure::notPermitted) : std::nullopt;
}

void MacReadScope::note(AXError error, const AXElement& element) {
  if (error == AXError::cannotComplete) missed.insert(processOf(element));
  if (error == AXError::apiDisabled) {
    wasRefused = true;
  } else if (error != AXError::cannotComplete) {
    wasAnswered = true;
  }
}

bool MacReadScope::hasMissed(const AXElement& element) const { return missed.contains(processOf(element)); }

}  // namespace quillard::macos
