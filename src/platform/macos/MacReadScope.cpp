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

// What is asked for together with `name`, itself among it: nothing when it is asked for alone, as all is that the
// system-wide element is asked for.
const Names& batchOf(AXElementKind kind, std::string_view name) {
  static const Names application{ax::kRole, ax::kTitle, ax::kWindows, ax::kMainWindow, ax::kFocusedWindow};
  static const Names node{ax::kRole,     ax::kSubrole, ax::kTitle,    ax::kDescription, ax::kModal,
                          ax::kChildren, ax::kParent,  ax::kPosition, ax::kSize};
  static const Names value{ax::kSubrole, ax::kValue};
  static const Names nothing;
  if (kind == AXElementKind::systemWide) return nothing;
  if (kind == AXElementKind::node && name == ax::kValue) return value;
  const Names& batch = kind == AXElementKind::application ? application : node;
  return std::find(batch.begin(), batch.end(), name) != batch.end() ? batch : nothing;
}

// Of a value whose subrole is known to say so.
std::optional<AXError> knownRefusal(std::string_view name, const MacReadScope::Answers& known) {
  const auto subrole = known.find(ax::kSubrole);
  if (name != ax::kValue || subrole == known.end()) return std::nullopt;
  return refusalOfValue(subrole->second);
}

}  // namespace

AXResult<AXValue> MacReadScope::copyAttributeValue(const AXUIElement& element, std::string_view name) {
  const AXElement* const own = askableElementOf(element);
  if (!own) return AXError::invalidUIElement;
  if (hasMissed(*own)) return AXError::cannotComplete;
  if (calls.wouldAskThisProcess(*own)) return AXError::noValue;
  Known& known = answers[element];
  auto& attributes = known.attributes;
  if (const auto found = attributes.find(name); found != attributes.end()) return found->second;
  if (const auto refusal = knownRefusal(name, attributes)) return *refusal;
  if (!readBatch(*own, batchOf(own->elementKind(), name), known)) return AXError::cannotComplete;
  if (const auto found = attributes.find(name); found != attributes.end()) return found->second;
  auto answer = calls.run([&] { return readAttribute(*own, name); });
  note(answer.error(), *own);
  return attributes.emplace(name, std::move(answer)).first->second;
}

bool MacReadScope::readBatch(const AXElement& element, const std::vector<std::string_view>& names, Known& known) {
  if (names.empty() || known.takesNoLists) return true;
  auto batch = calls.run([&] { return readAttributes(element, names); });
  if (batch.error() == AXError::cannotComplete) {
    note(AXError::cannotComplete, element);
    return false;
  }
  known.takesNoLists = isBatchRefused(batch.error());
  for (std::size_t i = 0; i < names.size() && !known.takesNoLists; ++i) {
    // Without a list, the error is true of each: the element is gone, or nobody may ask.
    known.attributes.emplace(names[i], batch.hasValue() ? batch.value()[i] : Answer(batch.error()));
  }
  return true;
}

AXResult<std::vector<std::string>> MacReadScope::copyActionNames(const AXUIElement& element) {
  const AXElement* const own = askableElementOf(element);
  if (!own) return AXError::invalidUIElement;
  if (hasMissed(*own)) return AXError::cannotComplete;
  if (calls.wouldAskThisProcess(*own)) return AXError::noValue;
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
  if (error == AXError::cannotComplete) missed.insert(processOf(element));
}

bool MacReadScope::hasMissed(const AXElement& element) const { return missed.contains(processOf(element)); }

}  // namespace quillard::macos
