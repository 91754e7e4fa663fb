#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/simulated/DesktopState.h"
#include "platform/simulated/ElementTree.h"
#include "platform/simulated/SimulatedElement.h"

namespace quillard::platform::simulated {

// What elements answer when they are asked, at no cost: what a test has set, else what follows from the state of the
// desktop. Text of secure text fields is never given.
[[nodiscard]] AXResult<AXValue> attributeAnswer(const DesktopState& state, const ElementTarget& target,
                                                std::string_view name);
// All attributes at once. One that is not in it answers `attributeUnsupported`.
[[nodiscard]] AXResult<AttributeMap> attributeAnswers(const DesktopState& state, const ElementTarget& target);
[[nodiscard]] AXResult<std::vector<std::string>> actionNamesAnswer(const DesktopState& state,
                                                                   const ElementTarget& target);

}  // namespace quillard::platform::simulated
