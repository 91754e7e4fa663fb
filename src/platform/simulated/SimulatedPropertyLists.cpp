#include "platform/simulated/SimulatedPropertyLists.h"

#include <string_view>

#include "foundation/StrictJson.h"

namespace quillard::platform::simulated {

std::variant<PropertyListTexts, PropertyListError> SimulatedPropertyLists::readTexts(
    std::span<const std::uint8_t> bytes) {
  const auto outcome = parseStrictJson({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  if (const auto* error = std::get_if<JsonError>(&outcome)) return PropertyListError{error->description()};
  const auto& root = std::get<Json>(outcome);
  if (!root.is_object()) return PropertyListError{"The root is no dictionary."};
  PropertyListTexts texts;
  for (const auto& [key, value] : root.items()) {
    if (value.is_string()) texts[key] = value.get<std::string>();
  }
  return texts;
}

}  // namespace quillard::platform::simulated
