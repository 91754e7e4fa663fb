#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "agent/PairingCode.h"
#include "foundation/CallbackScope.h"
#include "platform/shell/StatusItem.h"
#include "platform/storage/UserDefaults.h"
#include "relay/PairingConfiguration.h"
#include "status/StatusWindowController.h"
#include "values/Images.h"

namespace quillard {

// What the presenter shows things with. All of it outlives the presenter.
struct StatusPresenterDependencies {
  platform::StatusBar& statusBar;
  PairingConfiguration& pairingConfiguration;
  platform::UserDefaults& userDefaults;
  StatusWindowDependencies window;
  UserTexts texts{};
};

// All that the user of this computer sees of the agent but notifications: its place in the menu bar, and its window,
// which is made when it is first shown. Main thread.
class StatusPresenter {
 public:
  // `windowCallbacks` is called once, when the window is made; what it returns may come after the presenter is gone.
  StatusPresenter(const StatusPresenterDependencies& dependencies,
                  std::function<StatusWindowCallbacks()> windowCallbacks);
  ~StatusPresenter();
  StatusPresenter(const StatusPresenter&) = delete;
  StatusPresenter& operator=(const StatusPresenter&) = delete;

  // Takes the place in the menu bar; a click there shows the window.
  void configureMenuBar();

  // `count`: how many approvals are pending now.
  void updateStatus(std::int64_t count);
  [[nodiscard]] std::int64_t pendingApprovalCount() const { return pendingCount; }

  // Nothing happens while there is no window, or it is hidden.
  void refreshStatusWindow();
  // Nothing happens once it is stopped.
  void showStatusWindow();
  // The same, when nobody asked for it: the window then makes way for prompts that turn out to be on screen already, as
  // far as they are found within some seconds. It must not cover what it is there to tell of. Before a phone was ever
  // paired it stays in front: its code is all that there is to do.
  void showStatusWindowAtStart();
  // A phone is paired with this computer. Remembered for later runs.
  void phoneIsPaired();

  // The pairing code of the window and the text beneath it. Without the permission there is no code, and nothing of the
  // pairing is read: a phone that pairs would be shown no prompt.
  [[nodiscard]] std::optional<LazyBitmap> pairingImage(bool accessibilityTrusted);
  [[nodiscard]] std::string pairingCaption(bool accessibilityTrusted);
  // The pairing is about to be replaced.
  void forgetPairingCode() { pairingCode.forget(); }

  // No window is shown afterwards.
  void stop() { isStopped = true; }

 private:
  void makeWayIfNeeded();

  const StatusPresenterDependencies dependencies;
  const std::function<StatusWindowCallbacks()> windowCallbacks;
  PairingCode pairingCode;
  std::int64_t pendingCount = 0;
  bool isStopped = false;
  platform::TaskHandle startWindow;                                // Present while the window makes way.
  std::unique_ptr<platform::StatusItem> statusItem;                // Present once the menu bar is configured.
  std::unique_ptr<StatusWindowController> statusWindowController;  // Present once the window was shown.
  CallbackScope callbacks;                                         // Last.
};

}  // namespace quillard
