#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "foundation/StrictJson.h"
#include "recording/RecordedDesktop.h"

// The values that recorded desktops are written with; `RecordedDesktopJson.h` describes the format. Reading what was
// written gives an equal value. Where a value is read, absent means that the JSON is none of this kind.
namespace quillard::recording {

[[nodiscard]] Json textJson(const std::string& text);
[[nodiscard]] std::optional<std::string> textOf(const Json& json);

// Where only a number can stand: whole ones are written without a fraction, integers are read as numbers.
[[nodiscard]] Json numberJson(double number);
[[nodiscard]] std::optional<double> numberOf(const Json& json);
[[nodiscard]] Json numbersJson(const std::vector<double>& numbers);
[[nodiscard]] std::optional<std::vector<double>> numbersOf(const Json& json, std::size_t count);

[[nodiscard]] Json textsJson(const std::vector<std::string>& texts);
[[nodiscard]] std::optional<std::vector<std::string>> textsOf(const Json& json);

[[nodiscard]] std::optional<std::vector<ElementId>> idsOf(const Json& json);

[[nodiscard]] std::string_view policyName(platform::ActivationPolicy policy);
[[nodiscard]] std::optional<platform::ActivationPolicy> policyOf(std::string_view name);

[[nodiscard]] Json errorJson(platform::AXError error);

[[nodiscard]] Json valueJson(const RecordedValue& value);

// The value, or what is wrong with it. Does not check whether its references are those of elements.
[[nodiscard]] std::variant<RecordedValue, std::string> valueOf(const Json& json);

}  // namespace quillard::recording
