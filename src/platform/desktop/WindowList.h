#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Subscription.h"
#include "platform/desktop/Finding.h"
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
  std::optional<std::int64_t> number;  // The server's own name for the window, which no other has while it exists.
  bool operator==(const WindowListEntry&) const = default;
};

class WindowList {
 public:
  virtual ~WindowList() = default;

  // Front to back, read anew, or why the list could not be read: an empty one says that there are no windows. A window
  // that was listed among all windows and is no longer has been closed or hidden by its program. One that was never
  // listed proves nothing by that: some programs' windows are not known to the server. Any thread; asks no application.
  [[nodiscard]] virtual Finding<std::vector<WindowListEntry>> readWindowInfo(WindowListOptions options) = 0;

  // The same for whoever goes by what is listed only. Empty also when the list could not be read.
  [[nodiscard]] std::vector<WindowListEntry> copyWindowInfo(WindowListOptions options) {
    const auto windows = readWindowInfo(options);
    return windows.isKnown() ? windows.value() : std::vector<WindowListEntry>{};
  }

  // Whether `readWindowInfo` may give something else by now than when this was asked last, for whoever asks at
  // intervals. False only where the system would have said so; such a binding says true now and then all the same, as a
  // net. The first answer is true. Asks nobody. Main thread, and one asker.
  [[nodiscard]] virtual bool mayHaveChanged() { return true; }

  // Calls back on the main thread soon after the list or the active window may have changed. A hint for looking sooner
  // than one would have: a system without such events never calls.
  [[nodiscard]] virtual SubscriptionHandle observeChanges(std::function<void()> onChange) = 0;

  // Calls back on the main thread soon after a window that may be missing from the list came, or came to the front:
  // where the system tells of such windows without listing them, reading the list anew would show no difference. May be
  // null where every window is listed.
  [[nodiscard]] virtual SubscriptionHandle observeUnlistedWindows(std::function<void()> onChange) = 0;
};

}  // namespace quillard::platform
