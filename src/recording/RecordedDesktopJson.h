#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "foundation/StrictJson.h"
#include "recording/RecordedDesktop.h"

// Recorded desktops as text that a person can read, cut down and write by hand:
//
//   {
//     "format": "quillard.recorded-desktop",
//     "version": 1,
//     "applications": [
//       {
//         "name": "Files",
//         "frontmost": true,
//         "windows": [
//           {
//             "title": "Erase disk?",
//             "subrole": "AXDialog",
//             "frame": [40, 60, 320, 140],
//             "attributes": {"AXMinimized": false, "AXDefaultButton": {"element": "erase"}},
//             "children": [
//               {"role": "AXStaticText", "value": "This cannot be undone."},
//               {"id": "erase", "role": "AXButton", "title": "Erase", "frame": [260, 160, 80, 24]}
//             ]
//           }
//         ]
//       }
//     ],
//     "focusedElement": "erase",
//     "windowList": [{"ownerProcessIdentifier": 1001, "ownerName": "Files", "layer": 0, "bounds": [40, 60, 320, 140]}]
//   }
//
// An application is an element with the workspace's facts: "processIdentifier", "name", "bundleIdentifier",
// "activationPolicy", "active", "hidden", "terminated", "frontmost", "missedTimeout". An element has "id", "process",
// "role", "subrole", "title", "description", "value", "modal", "frame" (position and size in one), "windows",
// "children", "actions", and under "attributes" all others by their AX names. Elements that stand in no list of windows
// or children are under "elements" of the whole. An element that is listed a second time is a mere id in that list.
//
// Values are JSON's own where it has them; others are objects of one member: {"point": [x, y]}, {"size": [w, h]},
// {"rect": [x, y, w, h]}, {"element": id}, {"elements": [ids]}, {"number": "nan" | "inf" | "-inf"}, {"foreign": true},
// {"error": "noValue"}, and {"bytes": hexadecimal} for text that is no UTF-8. 5 is an integer, 5.0 a number, except in
// frames and bounds.
//
// Whatever is left out is what one would expect: an element's id (nothing can refer to it then), its owner and its
// parent (those around it), a role by its place (AXApplication, AXWindow, else AXGroup), AXPress for a button and
// AXRaise for a window or a sheet, an empty list of children, or of windows for an application, and the process
// identifier 1001 for the first application, 1002 for the second. null says that the element has no such attribute at
// all.
namespace quillard::recording {

inline constexpr std::string_view kRecordedDesktopFormat = "quillard.recorded-desktop";
inline constexpr int kRecordedDesktopVersion = 1;

// Children inside one another take two levels each.
inline constexpr JsonLimits kRecordedDesktopLimits{.bytes = std::size_t{64} * 1024 * 1024, .depth = 512};
// A small text can hold a great many empty elements.
inline constexpr std::size_t kRecordedDesktopElements = 250'000;

// Indented by two, ending in a line break, the same for equal desktops. Trees that are deeper than the limits allow are
// cut into pieces that refer to one another.
[[nodiscard]] std::string recordedDesktopText(const RecordedDesktop& desktop);

// The desktop, or the first thing that was wrong with the text: beyond the limits, of another format or version, a
// member of the wrong kind or of an unknown name, an id or a process identifier that stands twice, a reference to an
// element that is not there.
[[nodiscard]] std::variant<RecordedDesktop, JsonError> readRecordedDesktop(std::string_view text);

}  // namespace quillard::recording
