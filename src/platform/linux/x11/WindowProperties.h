#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/x11/Atoms.h"
#include "platform/linux/x11/XWindows.h"

namespace quillard::x11 {

// A property of a window as it came from the X server. Any program may have written it, so nothing of it is trusted.
struct Property {
  std::uint32_t type = 0;   // An atom; 0: the property is not set, or its window has gone.
  std::uint8_t format = 0;  // Bits of one item: 8, 16 or 32.
  std::string bytes;        // Numbers in this machine's byte order.
  bool isComplete = true;   // Whether the property was no longer than what was asked for.
};

// Names longer than this read as not set, like those that are no UTF-8: nothing is half understood.
inline constexpr std::size_t kLongestText = 64 * 1024;
inline constexpr std::size_t kMostWindows = 4096;

// The first `most` numbers. Empty when the property is of another type or format.
[[nodiscard]] std::vector<std::uint32_t> numbersOf(const Property& property, std::uint32_t type, std::size_t most);
// Absent unless the property is of this type and holds a number. Of several, the first.
[[nodiscard]] std::optional<std::uint32_t> numberOf(const Property& property, std::uint32_t type);
// UTF-8, from UTF-8 or Latin-1, up to the first zero byte. Absent when it is of no type that holds text, too long, or
// no UTF-8 although it says so.
[[nodiscard]] std::optional<std::string> textOf(const Property& property, const Atoms& atoms);

// What was asked for about one window.
struct RawWindow {
  WindowID id = 0;
  Property processIdentifier;
  Property clientMachine;
  Property name;
  Property legacyName;
  Property classHint;
  Property type;
  Property state;
  Property legacyState;  // WM_STATE: normal, iconic or withdrawn.
  Property desktop;
  Property transientFor;
  Property frame;
  Property gtkFrame;
  Property opacity;
  Rect clientBounds;
  bool isViewable = false;  // For the X server: it and all its ancestors are mapped.
};

// Where each property comes from, and how many units of four bytes are asked for.
struct PropertySource {
  Property RawWindow::*member;
  Atom name;
  std::uint32_t length;
};
[[nodiscard]] const std::vector<PropertySource>& windowPropertySources();

// What is needed to understand a window, besides the window.
struct WindowDependencies {
  const Atoms& atoms;
  std::string hostName;
  WindowID root = 0;
  std::optional<std::uint32_t> currentDesktop;
};

[[nodiscard]] Window readWindow(const RawWindow& raw, const WindowDependencies& dependencies);

}  // namespace quillard::x11
