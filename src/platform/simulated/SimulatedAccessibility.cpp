#include "platform/simulated/SimulatedAccessibility.h"

#include <utility>

#include "platform/simulated/DesktopAnswers.h"
#include "platform/simulated/SimulatedReadScope.h"

namespace quillard::platform::simulated {

std::int32_t answeringProcess(const DesktopState& state, const ElementTarget& target) {
  if (target.kind != ElementKind::systemWide) return target.processIdentifier;
  const ApplicationState* const front = state.front();
  return front ? front->facts.processIdentifier : 0;
}

AXResult<AXValue> SimulatedAccessibility::copyAttributeValue(const AXUIElement& element, AXAttribute name) {
  const auto target = state.target(element);
  if (!target) return AXError::invalidUIElement;
  const Delivery delivery = gate.send(AXRequestKind::readAttribute, *target, name, answeringProcess(state, *target));
  if (delivery.error != AXError::success) return delivery.error;
  return attributeAnswer(state, *target, name);
}

AXResult<std::vector<std::string>> SimulatedAccessibility::copyActionNames(const AXUIElement& element) {
  const auto target = state.target(element);
  if (!target) return AXError::invalidUIElement;
  const Delivery delivery = gate.send(AXRequestKind::readActionNames, *target, {}, answeringProcess(state, *target));
  if (delivery.error != AXError::success) return delivery.error;
  return actionNamesAnswer(state, *target);
}

SubscriptionHandle SimulatedAccessibility::observeTrustChanges(std::function<void()> onChange) {
  return trustObservers.add(std::move(onChange));
}

AXUIElement SimulatedAccessibility::createApplication(std::int32_t processIdentifier) {
  return state.element({ElementKind::application, processIdentifier, {}});
}

AXUIElement SimulatedAccessibility::createSystemWide() { return state.element({}); }

std::unique_ptr<AXReadScope> SimulatedAccessibility::beginReadScope() {
  return std::make_unique<SimulatedReadScope>(state, gate);
}

std::optional<std::int32_t> SimulatedAccessibility::processIdentifier(const AXUIElement& element) {
  const auto target = state.target(element);
  if (!target || target->kind == ElementKind::systemWide) return std::nullopt;
  if (target->kind == ElementKind::node && !state.tree.find(target->node)) return std::nullopt;
  return target->processIdentifier;
}

AXError SimulatedAccessibility::setAttributeValue(const AXUIElement& element, AXAttribute name, const AXValue& value) {
  const auto target = state.target(element);
  if (!target) return AXError::invalidUIElement;
  const Delivery delivery = gate.send(AXRequestKind::setAttribute, *target, name, answeringProcess(state, *target));
  return carryOut(*target, delivery, [this, target = *target, name = std::string(name), value] {
    return actions.set(target, name, value);
  });
}

AXError SimulatedAccessibility::performAction(const AXUIElement& element, AXAction action) {
  const auto target = state.target(element);
  if (!target) return AXError::invalidUIElement;
  const Delivery delivery = gate.send(AXRequestKind::performAction, *target, action, answeringProcess(state, *target));
  return carryOut(*target, delivery,
                  [this, target = *target, action = std::string(action)] { return actions.perform(target, action); });
}

AXError SimulatedAccessibility::carryOut(const ElementTarget& target, const Delivery& delivery,
                                         std::function<AXError()> act) {
  if (delivery.error == AXError::success) return act();
  Turn actLate = [act = std::move(act)] { static_cast<void>(act()); };
  ApplicationState* const application = state.running(target.processIdentifier);
  if (delivery.waitsForUnhang && application && application->isHung) {
    application->waitingActions.push_back(std::move(actLate));
  } else if (delivery.waitsForUnhang || delivery.arrivesAfter) {
    desktop.later(delivery.arrivesAfter.value_or(Seconds::zero()), std::move(actLate));
  }
  return delivery.error;
}

AXResult<AXUIElement> SimulatedAccessibility::copyElementAtPosition(const AXUIElement& within, Point point) {
  const auto target = state.target(within);
  if (!target) return AXError::invalidUIElement;
  if (target->kind == ElementKind::node) return AXError::illegalArgument;
  const auto hit = nodeAt(*target, point);
  const std::int32_t owner = hit ? state.tree.ownerOf(*hit).value_or(0) : target->processIdentifier;
  const Delivery delivery = gate.send(AXRequestKind::hitTest, *target, {}, owner);
  if (delivery.error != AXError::success) return delivery.error;
  if (const auto answer = hitTest ? hitTest(point) : std::nullopt) {
    if (!answer->hasValue()) return answer->error();
    return state.nodeElement(answer->value());
  }
  const auto node = nodeAt(*target, point);
  if (!node) return AXError::noValue;
  return state.nodeElement(*node);
}

std::optional<NodeHandle> SimulatedAccessibility::nodeAt(const ElementTarget& within, Point point) const {
  const bool isAnywhere = within.kind == ElementKind::systemWide;
  return state.nodeAt(point, isAnywhere ? std::nullopt : std::optional{within.processIdentifier});
}

}  // namespace quillard::platform::simulated
