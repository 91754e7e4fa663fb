#pragma once

// Names of the accessibility bus.
namespace quillard::atspi::names {

inline constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
inline constexpr const char* kApplication = "org.a11y.atspi.Application";
inline constexpr const char* kComponent = "org.a11y.atspi.Component";
inline constexpr const char* kAction = "org.a11y.atspi.Action";
inline constexpr const char* kCache = "org.a11y.atspi.Cache";
inline constexpr const char* kCachePath = "/org/a11y/atspi/cache";
inline constexpr const char* kText = "org.a11y.atspi.Text";
inline constexpr const char* kRegistry = "org.a11y.atspi.Registry";
inline constexpr const char* kRootPath = "/org/a11y/atspi/accessible/root";
inline constexpr const char* kNullPath = "/org/a11y/atspi/null";

inline constexpr const char* kBus = "org.freedesktop.DBus";
inline constexpr const char* kBusPath = "/org/freedesktop/DBus";

// On the session bus.
inline constexpr const char* kLauncher = "org.a11y.Bus";
inline constexpr const char* kLauncherPath = "/org/a11y/bus";
inline constexpr const char* kStatus = "org.a11y.Status";

}  // namespace quillard::atspi::names
