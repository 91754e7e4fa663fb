#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "platform/desktop/WindowList.h"
#include "platform/simulated/DesktopState.h"

namespace quillard::platform::simulated {

// The window list of the simulated desktop: its windows as they are stacked. Sheets are part of their windows.
class SimulatedWindowList final : public WindowList {
 public:
  explicit SimulatedWindowList(DesktopState& state) : state(state) {}

  std::vector<WindowListEntry> copyWindowInfo(WindowListOptions options) override {
    return state.windowEntries(options);
  }
  SubscriptionHandle observeChanges(std::function<void()> onChange) override {
    return state.windowObservers.add(std::move(onChange));
  }

 private:
  DesktopState& state;
};

}  // namespace quillard::platform::simulated
