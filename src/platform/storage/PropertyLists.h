#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <variant>

namespace quillard::platform {

// What the root dictionary of a property list holds under its keys; values of other kinds than text are left out.
using PropertyListTexts = std::map<std::string, std::string, std::less<>>;

struct PropertyListError {
  std::string description;  // For a diagnostic line.
};

// Reads property lists, XML and binary. The bytes are from outside: limits on size and depth hold, nothing crashes. Any
// thread.
class PropertyLists {
 public:
  virtual ~PropertyLists() = default;
  [[nodiscard]] virtual std::variant<PropertyListTexts, PropertyListError> readTexts(
      std::span<const std::uint8_t> bytes) = 0;
};

}  // namespace quillard::platform
