#pragma once

#include <optional>
#include <vector>

#include <ApplicationServices/ApplicationServices.h>
#include <sys/types.h>

#include "platform/desktop/Accessibility.h"
#include "platform/macos/CFHandle.h"

namespace quillard::macos {

template <>
[[nodiscard]] inline CFTypeID typeNumber<AXUIElementRef>() {
  return AXUIElementGetTypeID();
}
template <>
[[nodiscard]] inline CFTypeID typeNumber<AXValueRef>() {
  return AXValueGetTypeID();
}

// How an element was come by, which says what is worth asking it.
enum class AXElementKind { node, application, systemWide };

// A system's element object. Equal when the system says that the elements are: two objects for one button are, though a
// time-out that was set on one of them does not hold for the other.
class AXElement final : public platform::AXElementReference {
 public:
  // `element` is not empty.
  AXElement(CFHandle<AXUIElementRef> element, AXElementKind kind) : element(std::move(element)), kind(kind) {}

  [[nodiscard]] AXUIElementRef get() const { return element.get(); }
  [[nodiscard]] AXElementKind elementKind() const { return kind; }

  [[nodiscard]] bool isEqual(const platform::AXElementReference& other) const override {
    const auto* const same = dynamic_cast<const AXElement*>(&other);
    return same && CFEqual(element.get(), same->element.get());
  }
  [[nodiscard]] std::size_t hashValue() const override { return CFHash(element.get()); }

 private:
  const CFHandle<AXUIElementRef> element;
  const AXElementKind kind;
};

// Null when the element is of another binding.
[[nodiscard]] inline const AXElement* elementOf(const platform::AXUIElement& element) {
  return dynamic_cast<const AXElement*>(&element.get());
}

// 0 when it is of no process, as the system-wide one is. No request.
[[nodiscard]] inline pid_t processOf(const AXElement& element) {
  pid_t process = 0;
  return AXUIElementGetPid(element.get(), &process) == kAXErrorSuccess ? process : 0;
}

[[nodiscard]] inline platform::AXUIElement elementFrom(CFHandle<AXUIElementRef> element,
                                                       AXElementKind kind = AXElementKind::node) {
  return platform::AXUIElement(std::make_shared<const AXElement>(std::move(element), kind));
}

}  // namespace quillard::macos
