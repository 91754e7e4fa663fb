#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Mutex.h"
#include "platform/linux/accessibility/BusConnections.h"
#include "platform/linux/accessibility/BusWatch.h"
#include "platform/linux/kwin/KWinScripting.h"
#include "platform/linux/kwin/KWinScripts.h"
#include "platform/linux/kwin/KWinState.h"
#include "platform/linux/windows/DesktopWindows.h"
#include "platform/linux/windows/Listeners.h"
#include "platform/process/Executors.h"

namespace quillard::kwin {

struct KWinOptions {
  std::optional<std::string> sessionBusAddress;  // Absent: nothing is ever known.
  std::string scriptFolder;                      // Of this user alone. Scripts stand there while they run.
  // How long KWin may take for one answer.
  std::chrono::milliseconds timeout{500};
};

// The windows of KWin, of Wayland and X programs alike. A script of ours runs in KWin and tells them to an object of
// ours on the session bus, whenever something has changed; only KWin itself is believed. The script is loaded again
// when KWin was started anew, or when it reported nothing in time, and taken away at the end; those of agents that
// ended without that are, too.
//
// While KWin is away, or has not told anything yet, nothing is known. Any thread, but for what WindowChanges says.
class KWinWindows final : public desktop::DesktopWindows, public desktop::WindowChanges {
 public:
  // `mainThread` outlives this. Begins to ask immediately, on a thread of its own.
  KWinWindows(KWinOptions options, platform::SerialExecutor& mainThread);
  ~KWinWindows() override;

  // Both wait for the first answer, as long as it is on its way.
  [[nodiscard]] desktop::WindowCoverage coverage() const override;
  [[nodiscard]] desktop::WindowsSnapshot snapshot() override;
  bool activate(desktop::WindowID window) override { return request(WindowRequest::activate, window); }
  bool close(desktop::WindowID window) override { return request(WindowRequest::close, window); }

  [[nodiscard]] platform::SubscriptionHandle observe(
      std::function<void(const desktop::WindowsSnapshot&)> onRead) override {
    return listeners.add(std::move(onRead));
  }
  [[nodiscard]] const desktop::WindowsSnapshot& lastSnapshot() const override { return reported; }

 private:
  struct State;

  // On the watch's thread.
  void connected(atspi::BusConnection& connection);
  void ended(atspi::BusConnection& connection);
  [[nodiscard]] bool ownerChanged(sd_bus_message* signal);
  void load();
  // Loads and runs the script in place of one of the same name. False: it does not run, as far as is known.
  [[nodiscard]] bool loadScript(const char* ownName);
  void unloadLeftovers(KWinScripting& scripting) const;
  void retryLoading();
  [[nodiscard]] std::optional<std::chrono::milliseconds> timeToRetry() const;
  void unload();
  static int onTell(sd_bus_message* message, void* self, sd_bus_error*);
  void take(std::optional<desktop::WindowsSnapshot> now);

  bool request(WindowRequest request, desktop::WindowID window);
  void reportSoon();

  const KWinOptions options;
  platform::SerialExecutor& mainThread;
  const std::shared_ptr<State> state;
  desktop::WindowsSnapshot reported;  // Main thread.
  desktop::Listeners<desktop::WindowsSnapshot> listeners;
  atspi::BusConnections requests;
  // Of the watch's thread.
  atspi::BusConnection* link = nullptr;
  atspi::BusSlot object;
  std::string owner;                   // KWin's name on the bus. Empty: it is not there.
  std::unique_ptr<ScriptFile> script;  // Null: none of ours is loaded.
  bool hasReported = false;            // This owner has, so that what is known is not discarded before it goes.
  // When a KWin that is there, but has reported nothing, gets the script again. Absent: it has reported, or is not
  // there.
  std::optional<std::chrono::steady_clock::time_point> retryAt;
  std::chrono::milliseconds retryDelay{};
  const std::shared_ptr<char> life = std::make_shared<char>();
  std::unique_ptr<atspi::BusWatch> watch;  // Last: its thread uses all of the above.
};

}  // namespace quillard::kwin
