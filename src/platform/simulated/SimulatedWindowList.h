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

  Finding<std::vector<WindowListEntry>> readWindowInfo(WindowListOptions options) override {
    if (!state.isWindowListReadable) return Limitation{"The window server does not answer."};
    return state.windowEntries(options);
  }
  SubscriptionHandle observeChanges(std::function<void()> onChange) override {
    return state.windowObservers.add(std::move(onChange));
  }
  SubscriptionHandle observeUnlistedWindows(std::function<void()> onChange) override {
    return state.unlistedObservers.add(std::move(onChange));
  }

 private:
  DesktopState& state;
};

}  // namespace quillard::platform::simulated
