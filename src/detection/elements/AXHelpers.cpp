#include "detection/elements/AXHelpers.h"

#include <algorithm>

#include "foundation/Numbers.h"
#include "foundation/Text.h"

namespace quillard::AXHelpers {

using platform::Accessibility;
using platform::AXAttributeReader;
using platform::AXUIElement;
namespace ax = platform::ax;

namespace {

// Whether there may be a value behind an error. The others say that there is none, or that the element has gone.
bool isFailure(platform::AXError error) {
  return error == platform::AXError::failure || error == platform::AXError::cannotComplete;
}

template <class T>
std::optional<T> typedAttribute(AXAttributeReader& reader, const AXUIElement& element, platform::AXAttribute name) {
  auto result = reader.copyAttributeValue(element, name);
  if (!result.hasValue()) return std::nullopt;
  auto value = std::move(result).value();
  T* typed = std::get_if<T>(&value);
  return typed ? std::optional<T>{std::move(*typed)} : std::nullopt;
}

std::optional<AXUIElement> systemWideAttribute(Accessibility& accessibility, AXAttributeReader& reader,
                                               platform::AXAttribute name) {
  return elementAttribute(reader, accessibility.createSystemWide(), name);
}

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

template <class Matches>
std::optional<AXUIElement> nearest(AXAttributeReader& reader, AXUIElement element, int limit, Matches matches) {
  for (int remaining = limit; remaining > 0; --remaining) {
    if (matches(role(reader, element))) return element;
    if (remaining == 1) break;  // Its parent would not be looked at any more.
    auto parent = elementAttribute(reader, element, ax::kParent);
    if (!parent) break;
    element = *std::move(parent);
  }
  return std::nullopt;
}

}  // namespace

TextReading readText(AXAttributeReader& reader, const AXUIElement& element, platform::AXAttribute name) {
  auto result = reader.copyAttributeValue(element, name);
  if (!result.hasValue()) return {.text = std::nullopt, .isUnreadable = isFailure(result.error())};
  auto value = std::move(result).value();
  if (std::holds_alternative<platform::AXUnreadableText>(value)) return {.text = std::nullopt, .isUnreadable = true};
  auto* const text = std::get_if<std::string>(&value);
  if (!text) return {};
  if (text->size() > kLongestText || !text::isValidUtf8(*text)) return {.text = std::nullopt, .isUnreadable = true};
  const bool hasLostSome = text->find(kReplacementCharacter) != std::string::npos;
  return {.text = std::move(*text), .isUnreadable = hasLostSome};
}

std::optional<std::string> stringAttribute(AXAttributeReader& reader, const AXUIElement& element,
                                           platform::AXAttribute name) {
  return readText(reader, element, name).text;
}

std::optional<bool> boolAttribute(AXAttributeReader& reader, const AXUIElement& element, platform::AXAttribute name) {
  return typedAttribute<bool>(reader, element, name);
}

std::optional<AXUIElement> elementAttribute(AXAttributeReader& reader, const AXUIElement& element,
                                            platform::AXAttribute name) {
  return typedAttribute<AXUIElement>(reader, element, name);
}

std::vector<AXUIElement> children(AXAttributeReader& reader, const AXUIElement& element, platform::AXAttribute name) {
  return typedAttribute<std::vector<AXUIElement>>(reader, element, name).value_or(std::vector<AXUIElement>{});
}

std::vector<AXUIElement> windows(AXAttributeReader& reader, const AXUIElement& element) {
  return children(reader, element, ax::kWindows);
}

std::vector<std::string> actionNames(AXAttributeReader& reader, const AXUIElement& element) {
  auto result = reader.copyActionNames(element);
  return result.hasValue() ? std::move(result).value() : std::vector<std::string>{};
}

std::string role(AXAttributeReader& reader, const AXUIElement& element) {
  return stringAttribute(reader, element, ax::kRole).value_or("");
}

std::string subrole(AXAttributeReader& reader, const AXUIElement& element) {
  return stringAttribute(reader, element, ax::kSubrole).value_or("");
}

std::optional<AXUIElement> focusedWindow(Accessibility& accessibility, AXAttributeReader& reader) {
  return systemWideAttribute(accessibility, reader, ax::kFocusedWindow);
}

std::optional<AXUIElement> focusedElement(Accessibility& accessibility, AXAttributeReader& reader) {
  return systemWideAttribute(accessibility, reader, ax::kFocusedUIElement);
}

std::optional<Rect> frame(AXAttributeReader& reader, const AXUIElement& element) {
  const auto position = typedAttribute<Point>(reader, element, ax::kPosition);
  if (!position) return std::nullopt;
  const auto size = typedAttribute<Size>(reader, element, ax::kSize);
  if (!size) return std::nullopt;
  const bool isPlace =
      fitsInteger(position->x) && fitsInteger(position->y) && fitsInteger(size->width) && fitsInteger(size->height);
  if (!isPlace) return std::nullopt;
  return Rect{position->x, position->y, size->width, size->height};
}

std::optional<AXUIElement> nearestWindow(AXAttributeReader& reader, const AXUIElement& from, int limit) {
  return nearest(reader, from, limit,
                 [](std::string_view role) { return role == ax::kWindowRole || role == ax::kSheetRole; });
}

std::optional<AXUIElement> nearestButton(AXAttributeReader& reader, const AXUIElement& from, int limit) {
  return nearest(reader, from, limit, [](std::string_view role) { return role == ax::kButtonRole; });
}

Descendants descendants(AXAttributeReader& reader, const AXUIElement& root, int limit) {
  Descendants result;
  std::vector<AXUIElement> stack;
  const auto descend = [&](const AXUIElement& element) {
    auto nested = reader.copyAttributeValue(element, ax::kChildren);
    if (!nested.hasValue()) {
      if (isFailure(nested.error())) result.isComplete = false;
      return;
    }
    auto value = std::move(nested).value();
    if (auto* const list = std::get_if<std::vector<AXUIElement>>(&value)) {
      std::move(list->begin(), list->end(), std::back_inserter(stack));
    }
  };
  int remaining = std::max(limit, 0);
  if (remaining > 0) descend(root);
  while (!stack.empty() && remaining > 0) {
    AXUIElement element = std::move(stack.back());
    stack.pop_back();
    if (--remaining > 0) descend(element);  // The children of the last one would not be reached.
    result.elements.push_back(std::move(element));
  }
  if (remaining == 0) result.isComplete = false;
  return result;
}

std::vector<AXUIElement> deeplyNestedChildren(AXAttributeReader& reader, const AXUIElement& root, int limit) {
  return descendants(reader, root, limit).elements;
}

}  // namespace quillard::AXHelpers
