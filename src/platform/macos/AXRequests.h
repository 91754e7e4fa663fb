#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/macos/AXElement.h"

namespace quillard::macos {

// The reads of the accessibility interface, one request each. All of them on the thread that AXCalls has chosen.
//
// The text of a secure text field is never given. The system gives dots in its place, but an application that draws its
// own fields may be careless; so a value is only given together with a subrole that was read, or that is not there.

[[nodiscard]] platform::AXResult<platform::AXValue> readAttribute(const AXElement& element, platform::AXAttribute name);

// One answer for each name, in their order, from one request. What is no answer to that, a list of another length for
// example, is `failure`.
using AXAnswers = std::vector<platform::AXResult<platform::AXValue>>;
[[nodiscard]] platform::AXResult<AXAnswers> readAttributes(const AXElement& element,
                                                           const std::vector<platform::AXAttribute>& names);

// Why the value of an element with this subrole must not be given, when it must not: the subrole says that it is a
// secret, or cannot be told.
[[nodiscard]] std::optional<platform::AXError> refusalOfValue(const platform::AXResult<platform::AXValue>& subrole);

// Whether the error speaks of the list of questions, not of the element: ask one by one.
[[nodiscard]] bool isBatchRefused(platform::AXError error);

[[nodiscard]] platform::AXResult<std::vector<std::string>> readActionNames(const AXElement& element);

}  // namespace quillard::macos
