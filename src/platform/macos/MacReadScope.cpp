#include "platform/macos/MacReadScope.h"

#include <algorithm>
#include <utility>

#include "platform/macos/AXRequests.h"

namespace quillard::macos {
namespace {

using platform::AXError;
using platform::AXResult;
using platform::AXUIElement;
using platform::AXValue;
namespace ax = platform::ax;

using Names = std::vector<std::string_view>;

// What a walk asks elements of each kind for. The system-wide element is asked for little, each by itself.
const Names& batchOf(AXElementKind kind) {
  static const Names application{ax::kRole, ax::kTitle, ax::kWindows, ax::kMainWindow, ax::kFocusedWindow};
  static const Names node{ax::kRole,  ax::kSubrole,  ax::kTitle,  ax::kDescription, ax::kValue,
                          ax::kModal, ax::kChildren, ax::kParent, ax::kPosition,    ax::kSize};
  static const Names nothing;
  switch (kind) {
    case AXElementKind::application:
      return application;
    case AXElementKind::node:
      return node;
    default:
      return nothing;
  }
}

std::int32_t ownerOf(const AXElement& element) {
  pid_t process = 0;
  return AXUIElementGetPid(element.get(), &process) == kAXErrorSuccess ? process : 0;
}

}  // namespace

AXResult<AXValue> MacReadScope::copyAttributeValue(const AXUIElement& element, std::string_view name) {
  const AXElement* const own = elementOf(element);
  if (!own) return AXError::invalidUIElement;
  if (hasMissed(*own)) return AXError::cannotComplete;
  Known& known = answers[element];
  const Names& batch = batchOf(own->elementKind());
  if (std::find(batch.begin(), batch.end(), name) != batch.end() && !known.isBatchRead && !readBatch(*own, known)) {
    return AXError::cannotComplete;
  }
  if (const auto found = known.attributes.find(name); found != known.attributes.end()) return found->second;
  auto answer = calls.run([&] { return readAttribute(*own, name); });
  note(answer.error(), *own);
  return known.attributes.emplace(name, std::move(answer)).first->second;
}

bool MacReadScope::readBatch(const AXElement& element, Known& known) {
  known.isBatchRead = true;
  const Names& names = batchOf(element.elementKind());
  auto batch = calls.run([&] { return readAttributes(element, names); });
  if (batch.error() == AXError::cannotComplete) {
    note(AXError::cannotComplete, element);
    return false;
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (batch.hasValue()) {
      known.attributes.insert_or_assign(std::string(names[i]), batch.value()[i]);
    } else if (!isBatchRefused(batch.error())) {  // The element is gone, or nobody may ask.
      known.attributes.insert_or_assign(std::string(names[i]), batch.error());
    }
  }
  return true;
}

AXResult<std::vector<std::string>> MacReadScope::copyActionNames(const AXUIElement& element) {
  const AXElement* const own = elementOf(element);
  if (!own) return AXError::invalidUIElement;
  if (hasMissed(*own)) return AXError::cannotComplete;
  Known& known = answers[element];
  if (!known.actionNames) {
    known.actionNames = calls.run([&] { return readActionNames(*own); });
    note(known.actionNames->error(), *own);
  }
  return *known.actionNames;
}

void MacReadScope::prepareApplications(std::span<const AXUIElement>, int) {}

bool MacReadScope::missedTimeout(const AXUIElement& element) const {
  const AXElement* const own = elementOf(element);
  return own && hasMissed(*own);
}

void MacReadScope::note(AXError error, const AXElement& element) {
  if (error == AXError::cannotComplete) missed.insert(ownerOf(element));
}

bool MacReadScope::hasMissed(const AXElement& element) const { return missed.contains(ownerOf(element)); }

}  // namespace quillard::macos
