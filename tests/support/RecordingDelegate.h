#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/process/Application.h"

namespace quillard::test {

// Keeps what it is called for, in order.
class RecordingDelegate final : public platform::ApplicationDelegate {
 public:
  void applicationDidFinishLaunching() override {
    calls.emplace_back("did finish launching");
    if (onLaunch) onLaunch();
  }
  bool applicationShouldHandleReopen(bool hasVisibleWindows) override {
    calls.emplace_back(hasVisibleWindows ? "reopen with windows" : "reopen");
    return wantsReopening;
  }
  void applicationWillTerminate() override { calls.emplace_back("will terminate"); }

  std::vector<std::string> calls;
  std::function<void()> onLaunch;
  bool wantsReopening = true;
};

}  // namespace quillard::test
