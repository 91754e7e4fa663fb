#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include "desktop/PrivateDesktop.h"
#include "platform/linux/processes/DesktopEntries.h"
#include "platform/linux/system/DesktopOpener.h"
#include "platform/linux/windows/LinuxWindowList.h"
#include "platform/linux/windows/LinuxWorkspace.h"
#include "platform/linux/x11/DesktopWatch.h"
#include "platform/linux/x11/XcbWindows.h"
#include "platform/qt/QtExecutors.h"

namespace quillard::test {

// The accessibility bus, as the test says it is.
class FakeAccessibleProcesses final : public desktop::AccessibleProcesses {
 public:
  std::vector<std::int32_t> processes;

  void change(std::vector<std::int32_t> now) {
    processes = std::move(now);
    listeners.tell();
  }
  // On the bus, though no change was reported yet.
  std::vector<std::int32_t> unreported;

  std::vector<std::int32_t> processIdentifiers() override { return processes; }
  bool isPresentNow(std::int32_t processIdentifier) override {
    const auto has = [&](const auto& some) {
      return std::find(some.begin(), some.end(), processIdentifier) != some.end();
    };
    return has(processes) || has(unreported);
  }
  platform::SubscriptionHandle observe(std::function<void()> onChange) override {
    return listeners.add(std::move(onChange));
  }

 private:
  desktop::Listeners<> listeners;
};

class RecordingOpener final : public desktop::DesktopOpener {
 public:
  std::vector<std::string> opened;
  bool openURL(std::string_view url) override {
    opened.emplace_back(url);
    return true;
  }
  bool openFolder(std::string_view path) override {
    opened.emplace_back(path);
    return false;
  }
};

class DesktopEnvironment final : public platform::Environment {
 public:
  std::map<std::string, std::string, std::less<>> values;
  [[nodiscard]] std::optional<std::string> value(std::string_view name) const override {
    const auto found = values.find(name);
    return found == values.end() ? std::nullopt : std::optional{found->second};
  }
};

// The binding to the X server, put together as the program does.
struct X11Binding {
  explicit X11Binding(std::optional<std::string> display) : display(std::move(display)) {}

  std::optional<std::string> display;
  DesktopEnvironment environment;
  qt::QtExecutors executors;
  FakeAccessibleProcesses accessible;
  RecordingOpener opener;
  x11::XcbWindows windows{display};
  x11::DesktopWatch watch{display, windows, executors.mainThread()};
  proc::ProcessTable processes;
  proc::DesktopEntries entries{environment};
  proc::RunningPrograms programs{processes, entries};
  desktop::LinuxWorkspace workspace{{windows, watch, accessible, processes, programs, opener}};
  desktop::LinuxWindowList windowList{windows, programs, watch, accessible, executors.mainThread()};
};

}  // namespace quillard::test
