#pragma once

#include <cstdint>

#include "platform/linux/windows/DesktopWindows.h"

namespace quillard::x11 {

// What the X server calls a window. It is also what the desktop calls it, where the X server is asked for windows.
using WindowID = std::uint32_t;

using desktop::Extents;
using desktop::Window;
using desktop::WindowCoverage;
using desktop::WindowsSnapshot;
using desktop::WindowType;

}  // namespace quillard::x11
