#include "recording/RecordedValueJson.h"

#include <array>
#include <cmath>
#include <limits>
#include <string_view>
#include <utility>

#include "foundation/HexText.h"
#include "foundation/Text.h"

namespace quillard::recording {
namespace {

using platform::ActivationPolicy;
using platform::AXError;

constexpr std::array<std::pair<AXError, std::string_view>, 9> kErrorNames{{
    {AXError::failure, "failure"},
    {AXError::illegalArgument, "illegalArgument"},
    {AXError::invalidUIElement, "invalidUIElement"},
    {AXError::cannotComplete, "cannotComplete"},
    {AXError::attributeUnsupported, "attributeUnsupported"},
    {AXError::actionUnsupported, "actionUnsupported"},
    {AXError::notImplemented, "notImplemented"},
    {AXError::apiDisabled, "apiDisabled"},
    {AXError::noValue, "noValue"},
}};

constexpr std::array<std::pair<ActivationPolicy, std::string_view>, 3> kPolicyNames{{
    {ActivationPolicy::regular, "regular"},
    {ActivationPolicy::accessory, "accessory"},
    {ActivationPolicy::prohibited, "prohibited"},
}};

// The one member of an object that has just that one.
const Json* onlyMember(const Json& json, std::string_view name) {
  return json.is_object() && json.size() == 1 && json.begin().key() == name ? &*json.begin() : nullptr;
}

// JSON has no word for these three.
Json unfiniteNumberJson(double number) {
  const auto* word = std::isnan(number) ? "nan" : number > 0 ? "inf" : "-inf";
  return {{"number", word}};
}

std::optional<double> unfiniteNumberOf(const Json& word) {
  if (word == "nan") return std::numeric_limits<double>::quiet_NaN();
  if (word == "inf") return std::numeric_limits<double>::infinity();
  if (word == "-inf") return -std::numeric_limits<double>::infinity();
  return std::nullopt;
}

std::optional<AXError> errorOf(const Json& json) {
  for (const auto& [error, name] : kErrorNames) {
    if (json == name) return error;
  }
  return std::nullopt;
}

using Outcome = std::variant<RecordedValue, std::string>;

template <class T>
Outcome valueOr(std::optional<T> value, const char* message) {
  if (!value) return Outcome{std::in_place_index<1>, message};
  return Outcome{std::in_place_index<0>, RecordedValue{std::in_place_type<T>, std::move(*value)}};
}

template <class T>
std::optional<T> coordinatesOf(const Json& json) {
  const auto numbers = numbersOf(json, sizeof(T) / sizeof(double));
  if (!numbers) return std::nullopt;
  if constexpr (std::is_same_v<T, Rect>) {
    return T{(*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3]};
  } else {
    return T{(*numbers)[0], (*numbers)[1]};
  }
}

std::optional<ElementReference> referenceOf(const Json& id) {
  if (!id.is_string()) return std::nullopt;
  return ElementReference{id.get<std::string>()};
}

std::optional<platform::AXForeignValue> foreignOf(const Json& json) {
  if (json != true) return std::nullopt;
  return platform::AXForeignValue{};
}

std::optional<platform::AXUnreadableText> unreadableOf(const Json& json) {
  if (json != true) return std::nullopt;
  return platform::AXUnreadableText{};
}

Outcome valueOfObject(const Json& json) {
  constexpr auto kUnknown = "Expected a value: an object of one member that says its kind.";
  if (json.size() != 1) return Outcome{std::in_place_index<1>, kUnknown};
  const std::string& kind = json.begin().key();
  const Json& content = *json.begin();
  if (kind == "point") return valueOr(coordinatesOf<Point>(content), "Expected a point: [x, y].");
  if (kind == "size") return valueOr(coordinatesOf<Size>(content), "Expected a size: [width, height].");
  if (kind == "rect") return valueOr(coordinatesOf<Rect>(content), "Expected [x, y, width, height].");
  if (kind == "element") return valueOr(referenceOf(content), "Expected the id of an element.");
  if (kind == "elements") return valueOr(idsOf(content), "Expected a list of ids of elements.");
  if (kind == "number") return valueOr(unfiniteNumberOf(content), "Expected \"nan\", \"inf\" or \"-inf\".");
  if (kind == "bytes") return valueOr(textOf(json), "Expected bytes in lower-case hexadecimal.");
  if (kind == "foreign") return valueOr(foreignOf(content), "Expected true.");
  if (kind == "unreadable") return valueOr(unreadableOf(content), "Expected true.");
  if (kind == "error") return valueOr(errorOf(content), "Expected the name of an error.");
  return Outcome{std::in_place_index<1>, kUnknown};
}

// How each kind of value is written.
struct ValueWriter {
  Json operator()(platform::AXForeignValue) const { return {{"foreign", true}}; }
  Json operator()(platform::AXUnreadableText) const { return {{"unreadable", true}}; }
  Json operator()(bool value) const { return value; }
  Json operator()(std::int64_t value) const { return value; }
  Json operator()(double value) const { return std::isfinite(value) ? Json(value) : unfiniteNumberJson(value); }
  Json operator()(const std::string& value) const { return textJson(value); }
  Json operator()(const Point& value) const { return {{"point", numbersJson({value.x, value.y})}}; }
  Json operator()(const Size& value) const { return {{"size", numbersJson({value.width, value.height})}}; }
  Json operator()(const Rect& value) const {
    return {{"rect", numbersJson({value.x, value.y, value.width, value.height})}};
  }
  Json operator()(const ElementReference& value) const { return {{"element", value.id}}; }
  Json operator()(const std::vector<ElementId>& value) const { return {{"elements", value}}; }
  Json operator()(AXError value) const { return errorJson(value); }
};

}  // namespace

Json textJson(const std::string& text) {
  if (text::isValidUtf8(text)) return text;
  return {{"bytes", hexText(text)}};
}

std::optional<std::string> textOf(const Json& json) {
  if (json.is_string()) return json.get<std::string>();
  const Json* bytes = onlyMember(json, "bytes");
  const auto read = bytes && bytes->is_string() ? bytesOfHex(bytes->get_ref<const std::string&>()) : std::nullopt;
  return read ? std::optional<std::string>(std::in_place, read->begin(), read->end()) : std::nullopt;
}

Json numberJson(double number) {
  if (!std::isfinite(number)) return unfiniteNumberJson(number);
  constexpr double kExactWholeNumbers = 9007199254740992.0;  // 2^53
  if (std::trunc(number) == number && std::abs(number) <= kExactWholeNumbers) return static_cast<std::int64_t>(number);
  return number;
}

std::optional<double> numberOf(const Json& json) {
  if (json.is_number()) return json.get<double>();
  const Json* word = onlyMember(json, "number");
  return word ? unfiniteNumberOf(*word) : std::nullopt;
}

Json numbersJson(const std::vector<double>& numbers) {
  Json list = Json::array();
  for (const double number : numbers) list.push_back(numberJson(number));
  return list;
}

std::optional<std::vector<double>> numbersOf(const Json& json, std::size_t count) {
  if (!json.is_array() || json.size() != count) return std::nullopt;
  std::vector<double> numbers;
  for (const auto& entry : json) {
    const auto number = numberOf(entry);
    if (!number) return std::nullopt;
    numbers.push_back(*number);
  }
  return numbers;
}

Json textsJson(const std::vector<std::string>& texts) {
  Json list = Json::array();
  for (const auto& text : texts) list.push_back(textJson(text));
  return list;
}

std::optional<std::vector<std::string>> textsOf(const Json& json) {
  if (!json.is_array()) return std::nullopt;
  std::vector<std::string> texts;
  for (const auto& entry : json) {
    auto text = textOf(entry);
    if (!text) return std::nullopt;
    texts.push_back(std::move(*text));
  }
  return texts;
}

std::optional<std::vector<ElementId>> idsOf(const Json& json) {
  if (!json.is_array()) return std::nullopt;
  std::vector<ElementId> ids;
  for (const auto& id : json) {
    if (!id.is_string()) return std::nullopt;
    ids.push_back(id.get<std::string>());
  }
  return ids;
}

std::string_view policyName(ActivationPolicy policy) {
  for (const auto& [known, name] : kPolicyNames) {
    if (known == policy) return name;
  }
  return "regular";
}

std::optional<ActivationPolicy> policyOf(std::string_view name) {
  for (const auto& [policy, known] : kPolicyNames) {
    if (known == name) return policy;
  }
  return std::nullopt;
}

Json errorJson(AXError error) {
  for (const auto& [known, name] : kErrorNames) {
    if (known == error) return {{"error", name}};
  }
  return {{"error", "failure"}};  // `success` is no reason for having no value.
}

Json valueJson(const RecordedValue& value) { return std::visit(ValueWriter{}, value); }

std::variant<RecordedValue, std::string> valueOf(const Json& json) {
  if (json.is_object()) return valueOfObject(json);
  if (json.is_boolean()) return RecordedValue{json.get<bool>()};
  if (json.is_number_float()) return RecordedValue{json.get<double>()};
  if (json.is_string()) return RecordedValue{json.get<std::string>()};
  const bool isTooLarge = json.is_number_unsigned() && json.get<std::uint64_t>() > std::uint64_t{INT64_MAX};
  if (isTooLarge) return Outcome{std::in_place_index<1>, "The whole number is too large."};
  if (json.is_number_integer()) return RecordedValue{json.get<std::int64_t>()};
  return Outcome{std::in_place_index<1>, "Expected a value."};
}

}  // namespace quillard::recording
