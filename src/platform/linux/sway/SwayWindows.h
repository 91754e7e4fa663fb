#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Mutex.h"
#include "platform/linux/sway/SwaySocket.h"
#include "platform/linux/windows/DesktopWindows.h"

namespace quillard::sway {

// The windows of sway, over one connection to its socket that all threads share: calls take turns. Sway knows every
// window, of Wayland and X programs alike; what programs draw on layers of their own (panels, some notifications) is
// none. When sway goes or hangs, nothing is known until it answers again, which is tried now and then.
class SwayWindows final : public desktop::DesktopWindows {
 public:
  // `path`: the variable SWAYSOCK.
  explicit SwayWindows(std::string path, std::chrono::milliseconds retryInterval = std::chrono::seconds{5});

  [[nodiscard]] desktop::WindowCoverage coverage() const override;
  [[nodiscard]] desktop::WindowsSnapshot snapshot() override;
  // Shows its workspace, or takes it out of the scratchpad.
  bool activate(desktop::WindowID window) override;
  bool close(desktop::WindowID window) override;

 private:
  [[nodiscard]] SwaySocket* connected() const QUILLARD_REQUIRES(mutex);
  bool run(desktop::WindowID window, std::string_view command);

  const std::string path;
  const std::chrono::milliseconds retryInterval;
  mutable Mutex mutex;
  mutable std::unique_ptr<SwaySocket> socket QUILLARD_GUARDED_BY(mutex);
  mutable std::optional<std::chrono::steady_clock::time_point> lastAttempt QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::sway
