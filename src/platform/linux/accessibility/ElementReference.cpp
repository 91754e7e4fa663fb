#include "platform/linux/accessibility/ElementReference.h"

#include <memory>
#include <utility>

namespace quillard::atspi {

using platform::AXUIElement;

AXUIElement ElementReference::systemWide() { return AXUIElement{std::make_shared<ElementReference>()}; }

AXUIElement ElementReference::application(std::int32_t processIdentifier) {
  auto reference = std::make_shared<ElementReference>();
  reference->kind = Kind::application;
  reference->processIdentifier = processIdentifier;
  return AXUIElement{std::move(reference)};
}

AXUIElement ElementReference::object(ObjectName name, std::string windowPath, std::string busIdentity,
                                     std::int32_t processIdentifier) {
  auto reference = std::make_shared<ElementReference>();
  reference->kind = Kind::object;
  reference->processIdentifier = processIdentifier;
  reference->name = std::move(name);
  reference->windowPath = std::move(windowPath);
  reference->busIdentity = std::move(busIdentity);
  return AXUIElement{std::move(reference)};
}

const ElementReference* ElementReference::of(const AXUIElement& element) {
  return dynamic_cast<const ElementReference*>(&element.get());
}

bool ElementReference::isEqual(const AXElementReference& other) const {
  const auto* theirs = dynamic_cast<const ElementReference*>(&other);
  if (!theirs || kind != theirs->kind) return false;
  if (kind != Kind::object) return processIdentifier == theirs->processIdentifier;
  return name == theirs->name && busIdentity == theirs->busIdentity;
}

std::size_t ElementReference::hashValue() const {
  const std::size_t object = kind == Kind::object ? std::hash<ObjectName>{}(name) : 0;
  const std::size_t process = kind == Kind::application ? std::hash<std::int32_t>{}(processIdentifier) : 0;
  return object ^ (process << 2U) ^ static_cast<std::size_t>(kind);
}

}  // namespace quillard::atspi
