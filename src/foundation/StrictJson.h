#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "foundation/JsonTokens.h"
#include "foundation/Uuid.h"
#include "values/Time.h"

// Reading and writing JSON where every byte may come from another program. Members keep their order on writing; on
// reading, any order and unknown members are fine, doubled members are not.
namespace quillard {

using Json = nlohmann::ordered_json;

// What was wrong, and where: the path of member names and list positions, such as "buttons[2].width". Empty for the
// text as a whole.
struct JsonError {
  std::string path;
  std::string message;

  // "buttons[2].width: Expected a number."
  [[nodiscard]] std::string description() const;
  bool operator==(const JsonError&) const = default;
};

// The value, or what was wrong with the text. All of the text is checked, by JsonTokens, before anything is built of
// it.
[[nodiscard]] std::variant<Json, JsonError> parseStrictJson(std::string_view text, JsonLimits limits = {});

// Compact text. Absent when some string in it is no UTF-8.
[[nodiscard]] std::optional<std::string> jsonText(const Json& json);

// Reads the members of one object. The first failure is kept; every read after it returns an empty value, so that a
// record is read whole and checked once, at the end. A null counts as a missing member.
//
//   JsonReader reader{json};
//   Frame frame{reader.number("x"), reader.number("y")};
//   if (reader.error()) return *reader.error();
class JsonReader {
 public:
  // `json` outlives the reader; `path` is where it stands in the whole.
  explicit JsonReader(const Json& json, std::string path = {});

  [[nodiscard]] const std::optional<JsonError>& error() const { return failure; }
  // Keeps `error` unless there is one already. For checks that the caller makes itself.
  void fail(JsonError error);
  void failAt(std::string_view name, std::string_view message);

  // Required members.
  double number(std::string_view name);
  bool boolean(std::string_view name);
  std::string string(std::string_view name);
  Uuid uuid(std::string_view name);
  Date date(std::string_view name);
  // A whole number, also when written as 412.0, within [lowest, highest].
  std::int64_t integer(std::string_view name, std::int64_t lowest, std::int64_t highest);
  std::vector<std::string> strings(std::string_view name);

  // Optional members: absent when missing or null, but a failure when of another kind.
  std::optional<std::string> optionalString(std::string_view name);
  std::optional<bool> optionalBoolean(std::string_view name);
  std::optional<double> optionalNumber(std::string_view name);
  std::optional<std::int64_t> optionalInteger(std::string_view name, std::int64_t lowest, std::int64_t highest);
  std::optional<Uuid> optionalUuid(std::string_view name);
  std::optional<Date> optionalDate(std::string_view name);

  // A required object, read by `read(JsonReader&)`, whose failures become this reader's.
  template <class Read>
  auto object(std::string_view name, Read read) -> decltype(read(std::declval<JsonReader&>())) {
    using T = decltype(read(std::declval<JsonReader&>()));
    const Json* member = required(name);
    return member ? readNested<T>(*member, pathOf(name), read) : T{};
  }

  // A required list of objects, each read by `read(JsonReader&)`.
  template <class Read>
  auto objects(std::string_view name, Read read) -> std::vector<decltype(read(std::declval<JsonReader&>()))> {
    return readList(required(name), name, read);
  }

  // The same, where missing or null gives an empty list.
  template <class Read>
  auto optionalObjects(std::string_view name, Read read) -> std::vector<decltype(read(std::declval<JsonReader&>()))> {
    return readList(member(name), name, read);
  }

  // The member, or null when it is missing or JSON null. For members of several kinds.
  [[nodiscard]] const Json* member(std::string_view name) const;
  [[nodiscard]] std::string pathOf(std::string_view name) const;

 private:
  const Json* required(std::string_view name);

  template <class T, class Read>
  T readNested(const Json& nested, std::string nestedPath, Read& read) {
    JsonReader reader{nested, std::move(nestedPath)};
    T value = read(reader);
    if (reader.failure) fail(*reader.failure);
    return value;
  }

  template <class Read>
  auto readList(const Json* list, std::string_view name, Read& read)
      -> std::vector<decltype(read(std::declval<JsonReader&>()))> {
    using T = decltype(read(std::declval<JsonReader&>()));
    std::vector<T> values;
    if (!list || failure) return values;
    if (!list->is_array()) {
      failAt(name, "Expected a list.");
      return values;
    }
    for (std::size_t i = 0; i < list->size() && !failure; ++i) {
      values.push_back(readNested<T>((*list)[i], pathOf(name) + "[" + std::to_string(i) + "]", read));
    }
    return values;
  }

  template <class T, class Convert>
  T requiredValue(std::string_view name, std::string_view expectation, Convert convert);
  template <class T, class Convert>
  std::optional<T> optionalValue(std::string_view name, std::string_view expectation, Convert convert);

  const Json& json;
  std::string path;
  std::optional<JsonError> failure;
};

}  // namespace quillard
