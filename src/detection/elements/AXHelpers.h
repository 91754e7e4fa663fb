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

// Texts longer than this are not read: no prompt shows one, and no phone could.
inline constexpr std::size_t kLongestText = 64 * 1024;

// What became of reading a text. `isUnreadable`: there is, or may be, one that says something unknown: it is longer
// than `kLongestText` or no UTF-8, or the application failed to hand it over. Or some of it is lost: toolkits put a
// replacement character (U+FFFD) where a byte of it was broken, and that may have been in the one word that tells.
// Whoever judges by words must not take that for a text that says nothing.
struct TextReading {
  std::optional<std::string> text;  // UTF-8, and whole as the application has it. Absent: none, or unreadable.
  bool isUnreadable = false;
};
[[nodiscard]] TextReading readText(platform::AXAttributeReader& reader, const platform::AXUIElement& element,
                                   platform::AXAttribute name);

// The same where it does not matter why there is no text.
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

// How far up an element's window is looked for. No prompt is so deep, and a tree may be a circle.
inline constexpr int kWindowAncestorLimit = 20;

// The closest of the element itself and its ancestors that is a window or sheet, or a button. `limit` is how many
// elements are looked at, the element itself included; nothing is read when it is below 1.
[[nodiscard]] std::optional<platform::AXUIElement> nearestWindow(platform::AXAttributeReader& reader,
                                                                 const platform::AXUIElement& from, int limit);
[[nodiscard]] std::optional<platform::AXUIElement> nearestButton(platform::AXAttributeReader& reader,
                                                                 const platform::AXUIElement& from, int limit);

// Descendants in the order of the walk. `isComplete`: these are all; otherwise the limit cut some off, or some element
// failed to hand over its children.
struct Descendants {
  std::vector<platform::AXUIElement> elements;
  bool isComplete = true;
};

// At most `limit` descendants, `root` itself left out: each element before its own children, the last child of each
// first. An element that a broken tree lists twice comes twice. Of as many as `limit` it is not known whether the last
// has children: they do not count as complete.
[[nodiscard]] Descendants descendants(platform::AXAttributeReader& reader, const platform::AXUIElement& root,
                                      int limit);
// The same where it does not matter whether these are all.
[[nodiscard]] std::vector<platform::AXUIElement> deeplyNestedChildren(platform::AXAttributeReader& reader,
                                                                      const platform::AXUIElement& root, int limit);

}  // namespace quillard::AXHelpers
