#include "platform/linux/storage/UserDefaultsText.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "foundation/HexText.h"

namespace quillard::xdg {
namespace {

using platform::UserDefaultsValue;
using Bytes = std::vector<std::uint8_t>;

constexpr int kVersion = 1;
constexpr JsonLimits kLimits{.bytes = 4 * 1024 * 1024, .depth = 16};

// JSON has no words for these numbers.
constexpr std::string_view kNotANumber = "nan";
constexpr std::string_view kInfinity = "infinity";
constexpr std::string_view kMinusInfinity = "-infinity";

Json encodedNumber(double number) {
  if (std::isnan(number)) return kNotANumber;
  if (std::isinf(number)) return number > 0 ? kInfinity : kMinusInfinity;
  return number;
}

std::optional<double> decodedNumber(const Json& json) {
  if (json.is_number()) return json.get<double>();
  if (json == kNotANumber) return std::numeric_limits<double>::quiet_NaN();
  if (json == kInfinity) return std::numeric_limits<double>::infinity();
  if (json == kMinusInfinity) return -std::numeric_limits<double>::infinity();
  return std::nullopt;
}

struct Encoder {
  Json operator()(std::monostate) const { return nullptr; }
  Json operator()(bool value) const { return {{"boolean", value}}; }
  Json operator()(double value) const { return {{"number", encodedNumber(value)}}; }
  Json operator()(const std::string& value) const { return {{"text", value}}; }
  Json operator()(const std::vector<std::string>& value) const {
    Json texts = Json::array();
    for (const auto& text : value) texts.push_back(text);
    return {{"texts", std::move(texts)}};
  }
  Json operator()(Date value) const { return {{"date", value.time_since_epoch().count()}}; }
  Json operator()(const Bytes& value) const { return {{"bytes", hexText(value)}}; }
};

template <class T>
UserDefaultsValue orForeign(std::optional<T> value) {
  return value ? UserDefaultsValue(std::move(*value)) : UserDefaultsValue();
}

std::optional<std::vector<std::string>> decodedTexts(const Json& json) {
  if (!json.is_array() || !std::all_of(json.begin(), json.end(), [](const Json& one) { return one.is_string(); })) {
    return std::nullopt;
  }
  return json.get<std::vector<std::string>>();
}

std::optional<Date> decodedDate(const Json& json) {
  constexpr auto kLatest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (!json.is_number_integer()) return std::nullopt;
  if (json.is_number_unsigned() && json.get<std::uint64_t>() > kLatest) return std::nullopt;
  return Date{std::chrono::microseconds{json.get<std::int64_t>()}};
}

}  // namespace

Json encodedSetting(const UserDefaultsValue& value) { return std::visit(Encoder{}, value); }

UserDefaultsValue decodedSetting(const Json& stored) {
  if (!stored.is_object() || stored.size() != 1) return {};
  const std::string& kind = stored.begin().key();
  const Json& json = stored.begin().value();
  if (kind == "boolean" && json.is_boolean()) return json.get<bool>();
  if (kind == "text" && json.is_string()) return json.get<std::string>();
  if (kind == "number") return orForeign(decodedNumber(json));
  if (kind == "texts") return orForeign(decodedTexts(json));
  if (kind == "date") return orForeign(decodedDate(json));
  if (kind == "bytes" && json.is_string()) return orForeign(bytesOfHex(json.get_ref<const std::string&>()));
  return {};
}

std::variant<StoredSettings, JsonError> readUserDefaults(std::string_view text) {
  const auto parsed = parseStrictJson(text, kLimits);
  if (const auto* error = std::get_if<JsonError>(&parsed)) return *error;
  JsonReader reader(std::get<Json>(parsed));
  if (reader.integer("version", 1, std::numeric_limits<std::int32_t>::max()) > kVersion) {
    reader.failAt("version", "The file is of a newer version.");
  }
  const Json* const values = reader.member("values");
  if (!reader.error() && (!values || !values->is_object())) reader.failAt("values", "Expected an object.");
  if (reader.error()) return *reader.error();
  StoredSettings settings;
  for (const auto& [key, value] : values->items()) settings.emplace(key, value);
  return settings;
}

std::string userDefaultsText(const StoredSettings& settings) {
  Json values = Json::object();
  for (const auto& [key, value] : settings) {
    if (jsonText({{key, value}})) values[key] = value;
  }
  const Json file{{"version", kVersion}, {"values", std::move(values)}};
  return jsonText(file).value_or("") + "\n";
}

}  // namespace quillard::xdg
