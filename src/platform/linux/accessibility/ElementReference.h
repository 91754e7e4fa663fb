#pragma once

#include <cstdint>
#include <string>

#include "platform/desktop/Accessibility.h"
#include "platform/linux/accessibility/ObjectName.h"

namespace quillard::atspi {

// What a handle of this binding points at: the desktop as a whole, a process, or an object on the accessibility bus.
// Objects are equal by bus, program and path; what else is said of them here spares questions only.
class ElementReference final : public platform::AXElementReference {
 public:
  enum class Kind { systemWide, application, object };

  [[nodiscard]] static platform::AXUIElement systemWide();
  [[nodiscard]] static platform::AXUIElement application(std::int32_t processIdentifier);
  // `busIdentity`: of the bus as it was then. `windowPath`: of the top-level object that it lies in, or is.
  [[nodiscard]] static platform::AXUIElement object(ObjectName name, std::string windowPath, std::string busIdentity,
                                                    std::int32_t processIdentifier);
  // Null: an element of another binding.
  [[nodiscard]] static const ElementReference* of(const platform::AXUIElement& element);

  [[nodiscard]] bool isEqual(const platform::AXElementReference& other) const override;
  [[nodiscard]] std::size_t hashValue() const override;

  Kind kind = Kind::systemWide;
  std::int32_t processIdentifier = 0;
  ObjectName name;
  std::string windowPath;
  std::string busIdentity;
};

}  // namespace quillard::atspi
