#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/simulated/DesktopAnswers.h"
#include "platform/simulated/DesktopState.h"
#include "platform/simulated/RequestGate.h"

namespace quillard::platform::simulated {

// One round trip for all attributes of an element, at the first read of any of them; one more for the names of its
// actions. The system-wide element counts as an application of its own that may miss its time-out.
class SimulatedReadScope final : public AXReadScope {
 public:
  SimulatedReadScope(const DesktopState& state, RequestGate& gate) : state(state), gate(gate) {}

  AXResult<AXValue> copyAttributeValue(const AXUIElement& element, AXAttribute name) override;
  AXResult<std::vector<std::string>> copyActionNames(const AXUIElement& element) override;
  // Does nothing: here no fetching ahead is cheaper.
  void prepareApplications(std::span<const AXUIElement> applications, int descendantsPerWindow) override;
  [[nodiscard]] bool missedTimeout(const AXUIElement& element) const override;
  [[nodiscard]] std::optional<DesktopReadFailure> desktopFailure() const override { return failure; }

 private:
  // Whether the element is not to be asked any more, and what to answer instead.
  [[nodiscard]] std::optional<AXError> refusal(const ElementTarget& target) const;
  // Whether the application can be asked, and why not.
  [[nodiscard]] AXError ask(AXRequestKind kind, const ElementTarget& target);

  const DesktopState& state;
  RequestGate& gate;
  std::map<ElementTarget, AXResult<AttributeMap>> attributes;
  std::map<ElementTarget, AXResult<std::vector<std::string>>> actionNames;
  std::set<std::int32_t> missed;  // By process; 0 for the system-wide element.
  std::optional<DesktopReadFailure> failure;
};

}  // namespace quillard::platform::simulated
