#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include <QtCore/QSocketNotifier>

#include "platform/linux/windows/Listeners.h"
#include "platform/linux/x11/ServerConnection.h"
#include "platform/linux/x11/XWindows.h"
#include "platform/process/Executors.h"

namespace quillard::x11 {

// Notices on the main thread, from the X server's own events, that windows came, went, were minimised or moved to
// another desktop, that another one is active, or that the present desktop is another one. Looks once after each burst
// of events, at most every 16 ms, and hands what it saw to its listeners. Of moves and of changes of names, where some
// programs write their progress, it only notes that there were some, for whoever asks. When nobody has asked for 3 s,
// which is longer than the agent's usual tick, it looks by itself. When the X server goes, listeners see no windows,
// and it is tried again later.
//
// Made, used and destroyed on the main thread, whose event loop is Qt's.
class DesktopWatch final : public desktop::WindowChanges {
 public:
  // `displayName`: as for XcbWindows, whose `windows` are looked at; absent: nothing is ever noticed. Both outlive
  // this.
  DesktopWatch(std::optional<std::string> displayName, desktop::DesktopWindows& windows,
               platform::SerialExecutor& mainThread);
  ~DesktopWatch() override;

  [[nodiscard]] platform::SubscriptionHandle observe(std::function<void(const WindowsSnapshot&)> onRead) override {
    return listeners.add(std::move(onRead));
  }
  [[nodiscard]] bool mayHaveChanged() override;
  [[nodiscard]] const WindowsSnapshot& lastSnapshot() const override { return snapshot; }

 private:
  // `noted`: it is not read for that.
  enum class Urgency { none, noted, now };

  void connect();
  void disconnect();
  void takeEvents();
  [[nodiscard]] Urgency urgencyOf(const xcb_generic_event_t& event) const;
  void readSoon();
  void readUnlessAsked();
  void read();
  void watchRoot();
  // Asks for the events of windows that are new in `snapshot`. False when all were known.
  bool watchNewWindows();

  const std::optional<std::string> displayName;
  desktop::DesktopWindows& windows;
  platform::SerialExecutor& mainThread;
  std::unique_ptr<ServerConnection> server;
  std::unique_ptr<QSocketNotifier> notifier;
  std::set<WindowID> watched;
  WindowsSnapshot snapshot;
  Seconds retryDelay;
  std::optional<std::chrono::steady_clock::time_point> readAt;
  platform::TaskHandle readTask;                    // A look that is put off.
  platform::TaskHandle notedTask;                   // The same for what was noted and not asked for.
  bool hasChanged = true;                           // Since somebody asked, as far as events say.
  std::chrono::steady_clock::time_point askedAt{};  // When that was said last.
  platform::TaskHandle retryTask;                   // Another try to connect.
  desktop::Listeners<WindowsSnapshot> listeners;
  const std::shared_ptr<char> life = std::make_shared<char>();  // Tells turns that are under way whether this lives.
};

}  // namespace quillard::x11
