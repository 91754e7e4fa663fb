#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/linux/accessibility/DesktopReading.h"
#include "platform/linux/accessibility/ElementAnswers.h"

namespace quillard::atspi {

// Reads that belong together, all answered from one reading of the desktop, which begins with the first of them.
class LinuxReadScope final : public platform::AXReadScope {
 public:
  using BeginReading = std::function<std::unique_ptr<DesktopReading>()>;

  // `beginReading` gives null while the bus cannot be reached; it is not asked again then.
  explicit LinuxReadScope(BeginReading beginReading) : beginReading(std::move(beginReading)) {}

  [[nodiscard]] platform::AXResult<platform::AXValue> copyAttributeValue(const platform::AXUIElement& element,
                                                                         platform::AXAttribute name) override;
  [[nodiscard]] platform::AXResult<std::vector<std::string>> copyActionNames(
      const platform::AXUIElement& element) override;
  void prepareApplications(std::span<const platform::AXUIElement> applications, int descendantsPerWindow) override;
  [[nodiscard]] bool missedTimeout(const platform::AXUIElement& element) const override;
  [[nodiscard]] std::optional<platform::DesktopReadFailure> desktopFailure() const override;

 private:
  // Null: the bus cannot be reached.
  [[nodiscard]] ElementAnswers* begin();

  const BeginReading beginReading;
  bool hasBegun = false;
  std::unique_ptr<DesktopReading> reading;
  std::unique_ptr<ElementAnswers> answers;
};

}  // namespace quillard::atspi
