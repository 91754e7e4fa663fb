#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "platform/linux/windows/DesktopWindows.h"
#include "platform/linux/windows/Listeners.h"

namespace quillard::test {

// A desktop in memory, both ends of it. A program closes its window when it is asked to. One thread.
class FakeDesktopWindows final : public desktop::DesktopWindows, public desktop::WindowChanges {
 public:
  // In front, with the keyboard.
  desktop::WindowID open(std::int32_t process, const std::string& title) {
    desktop::Window window{.id = next++, .processIdentifier = process, .name = title, .isMapped = true};
    window.clientBounds = {100, 100, 300, 200};
    present.windows.push_back(window);
    present.active = window.id;
    tell();
    return window.id;
  }
  // All windows of the process.
  void remove(std::int32_t process) {
    take([&](const desktop::Window& window) { return window.processIdentifier == process; });
  }
  void minimise(desktop::WindowID id) {
    for (auto& window : present.windows) {
      if (window.id != id) continue;
      window.isHidden = true;
      window.isMapped = false;
    }
    if (present.active == id) present.active.reset();
    tell();
  }
  // From now on it cannot be asked.
  void lose() {
    present = {};
    tell();
  }

  [[nodiscard]] desktop::WindowCoverage coverage() const override { return present.coverage; }
  [[nodiscard]] desktop::WindowsSnapshot snapshot() override { return present; }
  bool activate(desktop::WindowID id) override {
    const auto window = find(id);
    if (window == present.windows.end()) return false;
    window->isHidden = false;
    window->isMapped = true;
    std::rotate(window, window + 1, present.windows.end());
    present.active = id;
    tell();
    return true;
  }
  bool close(desktop::WindowID id) override {
    if (find(id) == present.windows.end()) return false;
    take([&](const desktop::Window& window) { return window.id == id; });
    return true;
  }
  [[nodiscard]] platform::SubscriptionHandle observe(
      std::function<void(const desktop::WindowsSnapshot&)> onRead) override {
    return listeners.add(std::move(onRead));
  }
  [[nodiscard]] const desktop::WindowsSnapshot& lastSnapshot() const override { return present; }

 private:
  [[nodiscard]] std::vector<desktop::Window>::iterator find(desktop::WindowID id) {
    return std::find_if(present.windows.begin(), present.windows.end(),
                        [&](const desktop::Window& window) { return window.id == id; });
  }
  template <class Matches>
  void take(Matches matches) {
    std::erase_if(present.windows, matches);
    if (present.active && find(*present.active) == present.windows.end()) present.active.reset();
    tell();
  }
  void tell() { listeners.tell(desktop::WindowsSnapshot(present)); }

  desktop::WindowsSnapshot present{.windows = {}, .coverage = desktop::WindowCoverage::all};
  desktop::WindowID next = 1;
  desktop::Listeners<desktop::WindowsSnapshot> listeners;
};

}  // namespace quillard::test
