#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Accessibility.h"

// The few ways in which the agent reads elements. Nothing here fails: an error, a value of another kind and a stale
// handle all read as absent, or as an empty list, and the caller decides what that means. `reader` is a read scope, or
// the accessibility interface itself for live reads; each read may be a request to another process and wait for it.
namespace quillard::AXHelpers {

// Texts longer than this read as absent: no prompt shows one, and no phone could.
inline constexpr std::size_t kLongestText = 64 * 1024;

// Absent, too, when the text is no UTF-8: what cannot be read must not be half understood.
[[nodiscard]] std::optional<std::string> stringAttribute(platform::AXAttributeReader& reader,
                                                         const platform::AXUIElement& element,
                                                         platform::AXAttribute name);
[[nodiscard]] std::optional<bool> boolAttribute(platform::AXAttributeReader& reader,
                                                const platform::AXUIElement& element, platform::AXAttribute name);
[[nodiscard]] std::optional<platform::AXUIElement> elementAttribute(platform::AXAttributeReader& reader,
                                                                    const platform::AXUIElement& element,
                                                                    platform::AXAttribute name);

// In the platform's order.
[[nodiscard]] std::vector<platform::AXUIElement> children(platform::AXAttributeReader& reader,
                                                          const platform::AXUIElement& element,
                                                          platform::AXAttribute name = platform::ax::kChildren);
[[nodiscard]] std::vector<platform::AXUIElement> windows(platform::AXAttributeReader& reader,
                                                         const platform::AXUIElement& element);
[[nodiscard]] std::vector<std::string> actionNames(platform::AXAttributeReader& reader,
                                                   const platform::AXUIElement& element);

// The string attributes of which an empty text says no more than a missing one.
[[nodiscard]] std::string role(platform::AXAttributeReader& reader, const platform::AXUIElement& element);
[[nodiscard]] std::string subrole(platform::AXAttributeReader& reader, const platform::AXUIElement& element);

// Of the whole desktop.
[[nodiscard]] std::optional<platform::AXUIElement> focusedWindow(platform::Accessibility& accessibility,
                                                                 platform::AXAttributeReader& reader);
[[nodiscard]] std::optional<platform::AXUIElement> focusedElement(platform::Accessibility& accessibility,
                                                                  platform::AXAttributeReader& reader);

// Global screen coordinates. Absent unless position and size can both be read, every number is finite, and each fits an
// integer: sentinels beyond that are no place on a screen.
[[nodiscard]] std::optional<Rect> frame(platform::AXAttributeReader& reader, const platform::AXUIElement& element);

// The closest of the element itself and its ancestors that is a window or sheet, or a button. `limit` is how many
// elements are looked at, the element itself included; nothing is read when it is below 1.
[[nodiscard]] std::optional<platform::AXUIElement> nearestWindow(platform::AXAttributeReader& reader,
                                                                 const platform::AXUIElement& from, int limit);
[[nodiscard]] std::optional<platform::AXUIElement> nearestButton(platform::AXAttributeReader& reader,
                                                                 const platform::AXUIElement& from, int limit);

// At most `limit` descendants, `root` itself left out: each element before its own children, the last child of each
// first. An element that a broken tree lists twice comes twice.
[[nodiscard]] std::vector<platform::AXUIElement> deeplyNestedChildren(platform::AXAttributeReader& reader,
                                                                      const platform::AXUIElement& root, int limit);

}  // namespace quillard::AXHelpers
