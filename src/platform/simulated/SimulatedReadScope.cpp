#include "platform/simulated/SimulatedReadScope.h"

#include "platform/simulated/SimulatedAccessibility.h"

namespace quillard::platform::simulated {

AXResult<AXValue> SimulatedReadScope::copyAttributeValue(const AXUIElement& element, AXAttribute name) {
  const auto target = state.target(element);
  if (!target) return AXError::invalidUIElement;
  if (const auto reason = refusal(*target)) return *reason;
  auto known = attributes.find(*target);
  if (known == attributes.end()) {
    if (const AXError error = ask(AXRequestKind::readAttributes, *target); error != AXError::success) return error;
    known = attributes.emplace(*target, attributeAnswers(state, *target)).first;
  }
  if (!known->second.hasValue()) return known->second.error();
  const auto found = known->second.value().find(name);
  if (found == known->second.value().end()) return AXError::attributeUnsupported;
  return found->second;
}

AXResult<std::vector<std::string>> SimulatedReadScope::copyActionNames(const AXUIElement& element) {
  const auto target = state.target(element);
  if (!target) return AXError::invalidUIElement;
  if (const auto reason = refusal(*target)) return *reason;
  const auto known = actionNames.find(*target);
  if (known != actionNames.end()) return known->second;
  if (const AXError error = ask(AXRequestKind::readActionNames, *target); error != AXError::success) return error;
  return actionNames.emplace(*target, actionNamesAnswer(state, *target)).first->second;
}

AXError SimulatedReadScope::ask(AXRequestKind kind, const ElementTarget& target) {
  const Delivery delivery = gate.send(kind, target, {}, answeringProcess(state, target));
  if (delivery.missedTimeout) missed.insert(target.processIdentifier);
  if (delivery.isBlind || delivery.error == AXError::apiDisabled) failure = gate.desktopFailure();
  return delivery.error;
}

std::optional<AXError> SimulatedReadScope::refusal(const ElementTarget& target) const {
  if (failure && *failure != DesktopReadFailure::notPermitted) return AXError::cannotComplete;
  return missed.contains(target.processIdentifier) ? std::optional(AXError::cannotComplete) : std::nullopt;
}

void SimulatedReadScope::prepareApplications(std::span<const AXUIElement>, int) {}

bool SimulatedReadScope::missedTimeout(const AXUIElement& element) const {
  const auto target = state.target(element);
  return target && missed.contains(target->processIdentifier);
}

}  // namespace quillard::platform::simulated
