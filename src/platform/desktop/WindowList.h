#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Subscription.h"
#include "values/Geometry.h"

namespace quillard::platform {

// Which windows to list; the desktop's own elements (its background, its panels) are in neither.
enum class WindowListOptions : std::uint8_t { onScreenOnly, all };

// One window as the window server knows it, without asking its application. Every member is absent when the system does
// not give it or gives it in another kind.
struct WindowListEntry {
  std::optional<std::int32_t> ownerProcessIdentifier;
  std::optional<std::string> ownerName;
  std::optional<std::string> windowName;
  std::optional<std::int64_t> layer;  // 0 for ordinary windows; below zero: behind them.
  std::optional<double> alpha;        // 0 invisible to 1 opaque.
  std::optional<Rect> bounds;
  bool operator==(const WindowListEntry&) const = default;
};

class WindowList {
 public:
  virtual ~WindowList() = default;

  // Front to back. Empty outside a graphical session. Any thread.
  [[nodiscard]] virtual std::vector<WindowListEntry> copyWindowInfo(WindowListOptions options) = 0;

  // Calls back on the main thread soon after the list or the active window may have changed. A hint for looking sooner
  // than one would have: a system without such events never calls.
  [[nodiscard]] virtual SubscriptionHandle observeChanges(std::function<void()> onChange) = 0;
};

}  // namespace quillard::platform
