#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "foundation/StrictJson.h"
#include "recording/RecordedDesktop.h"

// Recorded desktops as JSON of one line for each application, window-list entry and element, so that a person can read
// it, cut it down and write it by hand, and a comparison of two shows the elements that differ:
//
//   {
//     "format": "quillard.recorded-desktop",
//     "version": 2,
//     "applications": [
//       {"processIdentifier":412,"name":"Files","frontmost":true,"element":"#1"}
//     ],
//     "focusedElement": "#4",
//     "windowList": [
//       {"ownerProcessIdentifier":412,"ownerName":"Files","layer":0,"bounds":[40,60,320,140]}
//     ],
//     "elements": [
//       {"id":"#1","process":412,"role":"AXApplication","windows":["#2"]},
//       {"id":"#2","process":412,"parent":"#1","role":"AXWindow","attributes":{"AXTitle":"Erase disk?",
//        "AXPosition":{"point":[40,60]},"AXSize":{"size":[320,140]}},"actions":["AXRaise"],"children":["#3","#4"]},
//       {"id":"#3","process":412,"parent":"#2","role":"AXStaticText","attributes":{"AXValue":"It is gone then."}},
//       {"id":"#4","process":412,"parent":"#2","role":"AXButton","attributes":{"AXTitle":"Erase"},"actions":["AXPress"]}
//     ]
//   }
//
// (Element "#2" is one line in a file.) Nothing is implied: a member that is left out, or null, is absent.
//
// The whole: "format", "version", "cut" (limits left something out), "applications", "focusedWindow" and
// "focusedElement" (ids), "windowList" (front to back), "elements".
// An application: "processIdentifier", "name", "bundleIdentifier", "activationPolicy" ("regular" unless given),
// "active", "hidden", "terminated", "frontmost", "missedTimeout", and "element", the id of its own element.
// A window-list entry: "ownerProcessIdentifier", "ownerName", "windowName", "layer", "alpha", "bounds", "onScreen"
// (true unless given).
// An element: "id", "process" (of its owner), "parent", "role", "attributes" by their AX names, "actions", "windows"
// and "children". Parent, role, windows and children are the attributes AXParent, AXRole, AXWindows and AXChildren
// where they are an element, a text and lists of elements; where they are anything else, they are among the attributes.
// They are independent of one another, as applications report them: an element may list another one whose parent it is
// not.
//
// Values are JSON's own where it has them; others are objects of one member: {"point": [x, y]}, {"size": [w, h]},
// {"rect": [x, y, w, h]}, {"element": id}, {"elements": [ids]}, {"number": "nan" | "inf" | "-inf"}, {"foreign": true},
// {"unreadable": true} for a text that could not be read,
// {"error": "noValue"}, and {"bytes": hexadecimal} for text that is no UTF-8. 5 is an integer, 5.0 a number, except in
// points, sizes and rectangles.
namespace quillard::recording {

inline constexpr std::string_view kRecordedDesktopFormat = "quillard.recorded-desktop";
inline constexpr int kRecordedDesktopVersion = 2;

// What the reader accepts at most. A recording with the recorder's own limits is far below.
struct RecordedDesktopLimits {
  // The deepest value: whole, list of elements, element, attributes, value, its list, a number that JSON has no word
  // for.
  JsonLimits json{.bytes = std::size_t{64} * 1024 * 1024, .depth = 7};
  std::size_t applications = 10'000;
  std::size_t windowListEntries = 100'000;
  std::size_t elements = 250'000;
  std::size_t elementDepth = 2000;  // Elements inside one another by their windows and children.
};

// Ends in a line break; the same text for equal desktops. Applications and window-list entries are in their order,
// elements in that of their ids.
[[nodiscard]] std::string recordedDesktopText(const RecordedDesktop& desktop);

// The desktop, or the first thing that is wrong with the text, and where: it is beyond the limits, of another format or
// version, a member is of the wrong kind or of an unknown name, an id, an attribute or a process identifier is there
// twice, or an id is that of no element.
[[nodiscard]] std::variant<RecordedDesktop, JsonError> readRecordedDesktop(std::string_view text,
                                                                           const RecordedDesktopLimits& limits = {});

}  // namespace quillard::recording
