#include "platform/linux/accessibility/LinuxReadScope.h"

#include <algorithm>
#include <utility>

namespace quillard::atspi {

using platform::AXError;
using platform::AXResult;
using platform::AXUIElement;
using platform::AXValue;

ElementAnswers* LinuxReadScope::begin() {
  if (!std::exchange(hasBegun, true)) {
    reading = beginReading();
    if (reading) answers = std::make_unique<ElementAnswers>(*reading);
  }
  return answers.get();
}

AXResult<AXValue> LinuxReadScope::copyAttributeValue(const AXUIElement& element, platform::AXAttribute name) {
  auto* const ready = begin();
  return ready ? ready->attribute(element, name) : AXResult<AXValue>{AXError::apiDisabled};
}

AXResult<std::vector<std::string>> LinuxReadScope::copyActionNames(const AXUIElement& element) {
  auto* const ready = begin();
  return ready ? ready->actionNames(element) : AXResult<std::vector<std::string>>{AXError::apiDisabled};
}

void LinuxReadScope::prepareApplications(std::span<const AXUIElement> applications, int descendantsPerWindow) {
  std::vector<std::int32_t> processes;
  for (const auto& application : applications) {
    const auto* const reference = ElementReference::of(application);
    if (reference && reference->kind == ElementReference::Kind::application) {
      processes.push_back(reference->processIdentifier);
    }
  }
  if (processes.empty() || !begin()) return;
  reading->prepare(processes, std::max(descendantsPerWindow, 0));
}

bool LinuxReadScope::missedTimeout(const AXUIElement& element) const {
  const auto* const reference = ElementReference::of(element);
  return reference && reading && reading->hasMissedTimeout(reference->processIdentifier);
}

std::optional<platform::DesktopReadFailure> LinuxReadScope::desktopFailure() const {
  if (!hasBegun) return std::nullopt;
  return reading ? reading->failure() : platform::DesktopReadFailure::accessibilityService;
}

}  // namespace quillard::atspi
