#include "foundation/StrictJson.h"

#include <algorithm>
#include <cmath>

#include "foundation/IsoDate.h"

namespace quillard {
namespace {

constexpr const char* kNoJson = "The text is not valid JSON.";

// What is wrong with the text, if anything.
std::optional<JsonError> errorIn(std::string_view text, JsonLimits limits) {
  JsonTokens tokens(text, limits);
  JsonToken token{};
  do {
    token = tokens.next();
  } while (token != JsonToken::end && token != JsonToken::failed);
  switch (tokens.failure()) {
    case JsonTokens::Failure::none:
      return std::nullopt;
    case JsonTokens::Failure::tooLong:
      return JsonError{"", "The JSON text is too long."};
    case JsonTokens::Failure::tooDeep:
      return JsonError{"", "The JSON text is nested too deeply."};
    case JsonTokens::Failure::tooManyMembers:
      return JsonError{"", "An object has too many members."};
    case JsonTokens::Failure::tooManyValues:
      return JsonError{"", "The JSON text has too many values."};
    case JsonTokens::Failure::doubledMember:
      return JsonError{unescapedJson(tokens.raw()), "The member stands twice."};
    case JsonTokens::Failure::malformed:
      break;
  }
  return JsonError{"", kNoJson};
}

std::optional<std::int64_t> wholeNumber(const Json& json, std::int64_t lowest, std::int64_t highest) {
  std::optional<std::int64_t> value;
  if (json.is_number_unsigned()) {
    const auto number = json.get<std::uint64_t>();
    if (number <= static_cast<std::uint64_t>(INT64_MAX)) value = static_cast<std::int64_t>(number);
  } else if (json.is_number_integer()) {
    value = json.get<std::int64_t>();
  } else if (json.is_number_float()) {
    const double number = json.get<double>();
    constexpr double kExactWholeNumbers = 9007199254740992.0;  // 2^53
    if (std::trunc(number) == number && std::abs(number) <= kExactWholeNumbers) {
      value = static_cast<std::int64_t>(number);
    }
  }
  if (!value || *value < lowest || *value > highest) return std::nullopt;
  return value;
}

std::optional<double> finiteNumber(const Json& json) {
  if (!json.is_number()) return std::nullopt;
  return json.get<double>();
}

std::optional<bool> booleanValue(const Json& json) {
  if (!json.is_boolean()) return std::nullopt;
  return json.get<bool>();
}

std::optional<std::string> stringValue(const Json& json) {
  if (!json.is_string()) return std::nullopt;
  return json.get<std::string>();
}

std::optional<Uuid> uuidValue(const Json& json) {
  if (!json.is_string()) return std::nullopt;
  return Uuid::parse(json.get_ref<const std::string&>());
}

std::optional<Date> dateValue(const Json& json) {
  if (!json.is_string()) return std::nullopt;
  return quillardISO8601(json.get_ref<const std::string&>());
}

std::optional<std::vector<std::string>> stringList(const Json& json) {
  if (!json.is_array() || !std::all_of(json.begin(), json.end(), [](const Json& entry) { return entry.is_string(); })) {
    return std::nullopt;
  }
  return json.get<std::vector<std::string>>();
}

constexpr std::string_view kExpectedNumber = "Expected a number.";
constexpr std::string_view kExpectedBoolean = "Expected true or false.";
constexpr std::string_view kExpectedString = "Expected a text.";
constexpr std::string_view kExpectedUuid = "Expected a UUID.";
constexpr std::string_view kExpectedInteger = "Expected a whole number in range.";
constexpr std::string_view kExpectedStrings = "Expected a list of texts.";

}  // namespace

std::string JsonError::description() const { return path.empty() ? message : path + ": " + message; }

std::variant<Json, JsonError> parseStrictJson(std::string_view text, JsonLimits limits) {
  if (auto error = errorIn(text, limits)) return *error;
  Json json = Json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (json.is_discarded()) return JsonError{"", kNoJson};
  return json;
}

std::optional<std::string> jsonText(const Json& json) {
  try {
    return json.dump();
  } catch (const nlohmann::json::type_error&) {
    return std::nullopt;
  }
}

JsonReader::JsonReader(const Json& json, std::string path) : json(json), path(std::move(path)) {
  if (!json.is_object()) fail({this->path, "Expected an object."});
}

void JsonReader::fail(JsonError error) {
  if (!failure) failure = std::move(error);
}

void JsonReader::failAt(std::string_view name, std::string_view message) { fail({pathOf(name), std::string(message)}); }

std::string JsonReader::pathOf(std::string_view name) const {
  return path.empty() ? std::string(name) : path + "." + std::string(name);
}

const Json* JsonReader::member(std::string_view name) const {
  if (failure) return nullptr;
  const auto found = json.find(name);
  return found == json.end() || found->is_null() ? nullptr : &*found;
}

const Json* JsonReader::required(std::string_view name) {
  const Json* found = member(name);
  if (!found) failAt(name, "The member is missing.");
  return found;
}

template <class T, class Convert>
T JsonReader::requiredValue(std::string_view name, std::string_view expectation, Convert convert) {
  const Json* found = required(name);
  if (!found) return T{};
  std::optional<T> value = convert(*found);
  if (!value) failAt(name, expectation);
  return std::move(value).value_or(T{});
}

template <class T, class Convert>
std::optional<T> JsonReader::optionalValue(std::string_view name, std::string_view expectation, Convert convert) {
  const Json* found = member(name);
  if (!found) return std::nullopt;
  std::optional<T> value = convert(*found);
  if (!value) failAt(name, expectation);
  return value;
}

double JsonReader::number(std::string_view name) { return requiredValue<double>(name, kExpectedNumber, finiteNumber); }

bool JsonReader::boolean(std::string_view name) { return requiredValue<bool>(name, kExpectedBoolean, booleanValue); }

std::string JsonReader::string(std::string_view name) {
  return requiredValue<std::string>(name, kExpectedString, stringValue);
}

Uuid JsonReader::uuid(std::string_view name) { return requiredValue<Uuid>(name, kExpectedUuid, uuidValue); }

Date JsonReader::date(std::string_view name) { return requiredValue<Date>(name, kExpectedIsoDate, dateValue); }

std::int64_t JsonReader::integer(std::string_view name, std::int64_t lowest, std::int64_t highest) {
  return requiredValue<std::int64_t>(name, kExpectedInteger,
                                     [&](const Json& value) { return wholeNumber(value, lowest, highest); });
}

std::vector<std::string> JsonReader::strings(std::string_view name) {
  return requiredValue<std::vector<std::string>>(name, kExpectedStrings, stringList);
}

std::optional<std::string> JsonReader::optionalString(std::string_view name) {
  return optionalValue<std::string>(name, kExpectedString, stringValue);
}

std::optional<bool> JsonReader::optionalBoolean(std::string_view name) {
  return optionalValue<bool>(name, kExpectedBoolean, booleanValue);
}

std::optional<double> JsonReader::optionalNumber(std::string_view name) {
  return optionalValue<double>(name, kExpectedNumber, finiteNumber);
}

std::optional<std::int64_t> JsonReader::optionalInteger(std::string_view name, std::int64_t lowest,
                                                        std::int64_t highest) {
  return optionalValue<std::int64_t>(name, kExpectedInteger,
                                     [&](const Json& value) { return wholeNumber(value, lowest, highest); });
}

std::optional<Uuid> JsonReader::optionalUuid(std::string_view name) {
  return optionalValue<Uuid>(name, kExpectedUuid, uuidValue);
}

std::optional<Date> JsonReader::optionalDate(std::string_view name) {
  return optionalValue<Date>(name, kExpectedIsoDate, dateValue);
}

}  // namespace quillard
