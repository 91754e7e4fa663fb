#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/TrustAnswers.h"
#include "platform/simulated/DesktopActions.h"
#include "platform/simulated/DesktopState.h"
#include "platform/simulated/Observers.h"
#include "platform/simulated/RequestGate.h"

namespace quillard::platform::simulated {

// The accessibility interface of the simulated desktop. Each live read, action, setting and hit test is one round trip.
// Elements of another desktop are invalid here.
class SimulatedAccessibility final : public Accessibility {
 public:
  using HitTest = std::function<std::optional<AXResult<NodeHandle>>(Point)>;

  // `desktop`: where late actions happen.
  SimulatedAccessibility(SimulatedDesktop& desktop, Executors& executors, DesktopState& state, RequestGate& gate,
                         DesktopActions& actions)
      : desktop(desktop),
        state(state),
        gate(gate),
        actions(actions),
        trustObservers(executors.mainThread()),
        trust([&gate] { return gate.askForTrust(); }, executors) {}

  void trustChanged() { trustObservers.tell(); }
  void setHitTest(HitTest answer) { hitTest = std::move(answer); }

  AXResult<AXValue> copyAttributeValue(const AXUIElement& element, AXAttribute name) override;
  AXResult<std::vector<std::string>> copyActionNames(const AXUIElement& element) override;
  ProcessTrust isProcessTrusted() override { return trust.ask(); }
  ProcessTrust lastKnownProcessTrust() override { return trust.lastKnown(); }
  void refreshProcessTrust(std::function<void(ProcessTrust)> onAnswer) override { trust.refresh(std::move(onAnswer)); }
  SubscriptionHandle observeTrustChanges(std::function<void()> onChange) override;
  AXUIElement createApplication(std::int32_t processIdentifier) override;
  AXUIElement createSystemWide() override;
  std::unique_ptr<AXReadScope> beginReadScope() override;
  std::optional<std::int32_t> processIdentifier(const AXUIElement& element) override;
  AXError setAttributeValue(const AXUIElement& element, AXAttribute name, const AXValue& value) override;
  AXError performAction(const AXUIElement& element, AXAction action) override;
  AXResult<AXUIElement> copyElementAtPosition(const AXUIElement& within, Point point) override;

 private:
  // Does now, late, or never what was asked for. `act` says what came of it.
  AXError carryOut(const ElementTarget& target, const Delivery& delivery, std::function<AXError()> act);
  [[nodiscard]] std::optional<NodeHandle> nodeAt(const ElementTarget& within, Point point) const;

  SimulatedDesktop& desktop;
  DesktopState& state;
  RequestGate& gate;
  DesktopActions& actions;
  Observers<> trustObservers;
  HitTest hitTest;  // Empty: the desktop's own.
  TrustAnswers trust;
};

// The process that answers for `target`: for the system-wide element, that of the application in front, 0 when there is
// none.
[[nodiscard]] std::int32_t answeringProcess(const DesktopState& state, const ElementTarget& target);

}  // namespace quillard::platform::simulated
