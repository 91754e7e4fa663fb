#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"

// The windows of a whole desktop at one time, as the accessibility interface, the workspace and the window list
// reported them. Plain values: recorded on one computer, read by people, loaded into the simulated desktop on another.
namespace quillard::recording {

// Unique among the elements of one recording, not empty, UTF-8. The recorder gives "#1", "#2" and so on.
using ElementId = std::string;

// Shorter ids first, then by bytes: "#9" before "#10". Elements are therefore in the order in which they were recorded,
// each before what lies inside it.
struct ElementIdOrder {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const {
    return a.size() == b.size() ? a < b : a.size() < b.size();
  }
};

struct ElementReference {
  ElementId id;
  bool operator==(const ElementReference&) const = default;
};

// The answer to a request for an attribute: a value of the kind that the application gave, or the error (never
// `success`). Text is as the application gave it, broken UTF-8 included. Every id is that of a recorded element.
using RecordedValue =
    std::variant<platform::AXForeignValue, platform::AXUnreadableText, bool, std::int64_t, double, std::string, Point,
                 Size, Rect, ElementReference, std::vector<ElementId>, platform::AXError>;

// By name, which is UTF-8. An attribute that is not here answers `attributeUnsupported`.
using RecordedAttributes = std::map<std::string, RecordedValue, std::less<>>;

// Elements form a graph rather than a tree: `AXChildren`, `AXWindows` and `AXParent` are attributes like all others,
// and an application may list an element twice, or one that contains itself.
struct RecordedElement {
  std::optional<std::int32_t> processIdentifier;  // Of its owner. Absent when it is unknown.
  RecordedAttributes attributes;
  std::variant<std::vector<std::string>, platform::AXError> actionNames;  // Empty too where they were not asked for.

  // Equal when they report the same: here a number that is NaN equals itself.
  bool operator==(const RecordedElement& other) const;
};

struct RecordedApplication {
  platform::RunningApplication application;
  bool isFrontmost = false;    // At most one of a recording.
  bool missedTimeout = false;  // It hung while it was recorded: what is here is what was read before.
  ElementId element;           // The application's own element, with its windows.
  bool operator==(const RecordedApplication&) const = default;
};

struct RecordedWindowListEntry {
  platform::WindowListEntry entry;
  bool isOnScreen = true;  // In the list of the windows on screen too, not only in that of all.

  // As for elements, NaN equals itself.
  bool operator==(const RecordedWindowListEntry& other) const;
};

struct RecordedDesktop {
  std::vector<RecordedApplication> applications;  // In the order of the workspace, process identifiers unique.
  std::map<ElementId, RecordedElement, ElementIdOrder> elements;
  // Attributes of the system-wide element. Absent: it has none.
  std::optional<ElementId> focusedWindow;
  std::optional<ElementId> focusedElement;
  std::vector<RecordedWindowListEntry> windowList;  // Front to back.
  bool isCut = false;                               // Limits of the recording left something out.
  // Who did not answer while it was recorded, so that whole programs may be missing. No file says so: such a recording
  // is none worth keeping.
  std::optional<platform::DesktopReadFailure> failure;
  bool operator==(const RecordedDesktop&) const = default;
};

}  // namespace quillard::recording
