#pragma once

#include <cstdint>
#include <span>
#include <variant>

#include "platform/storage/PropertyLists.h"

namespace quillard::platform::simulated {

// Property lists of a simulated world are written as JSON objects. Any thread.
class SimulatedPropertyLists final : public PropertyLists {
 public:
  [[nodiscard]] std::variant<PropertyListTexts, PropertyListError> readTexts(
      std::span<const std::uint8_t> bytes) override;
};

}  // namespace quillard::platform::simulated
