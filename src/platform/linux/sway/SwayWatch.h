#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include <QtCore/QSocketNotifier>

#include "platform/linux/sway/SwaySocket.h"
#include "platform/linux/windows/DesktopWindows.h"
#include "platform/linux/windows/Listeners.h"
#include "platform/process/Executors.h"
#include "values/Time.h"

namespace quillard::sway {

// Sway's own events, of windows and workspaces, on a connection of its own. Reads the windows once after each burst, at
// most every 16 ms; changes of titles wait for 100 ms, since some programs write their progress there. When sway goes,
// there are no windows, and it is tried again later.
//
// Made, used and destroyed on the main thread, whose event loop is Qt's.
class SwayWatch final : public desktop::WindowChanges {
 public:
  // `path`: as for `windows`, which are read. Both outlive this.
  SwayWatch(std::string path, desktop::DesktopWindows& windows, platform::SerialExecutor& mainThread);
  ~SwayWatch() override;

  [[nodiscard]] platform::SubscriptionHandle observe(
      std::function<void(const desktop::WindowsSnapshot&)> onRead) override {
    return listeners.add(std::move(onRead));
  }
  [[nodiscard]] const desktop::WindowsSnapshot& lastSnapshot() const override { return snapshot; }

 private:
  void connect();
  void disconnect();
  void takeEvents();
  void readIn(Seconds delay, platform::TaskHandle& task);
  void read();

  const std::string path;
  desktop::DesktopWindows& windows;
  platform::SerialExecutor& mainThread;
  std::unique_ptr<SwaySocket> socket;
  std::unique_ptr<QSocketNotifier> notifier;
  desktop::WindowsSnapshot snapshot;
  Seconds retryDelay;
  platform::TaskHandle readTask;
  platform::TaskHandle titleTask;
  platform::TaskHandle retryTask;
  desktop::Listeners<desktop::WindowsSnapshot> listeners;
};

}  // namespace quillard::sway
