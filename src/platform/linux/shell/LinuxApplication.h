#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/UserTexts.h"
#include "platform/linux/shell/LinuxStatusBar.h"
#include "platform/process/Application.h"
#include "platform/process/Executors.h"
#include "platform/qt/LoopEnd.h"

namespace quillard::desktop {

// This process as an application of a Linux desktop, over Qt. Its menu stands in the tray. A second start runs a second
// process, which replaces this one: nothing is ever reopened. Main thread.
//
// No desktop of Linux knows an activation policy; but a change of it says that the status window has come up or gone,
// and memory that was needed for that alone is released some seconds later (see LinuxMemoryTrim.h).
class LinuxApplication final : public platform::Application {
 public:
  // After the status window has come up, as it does at each start, or gone: its pages are drawn, or released, by then,
  // and the first scans are done.
  static constexpr Seconds kWindowHasSettled{4};

  // `mainThread` is the Qt event loop; it and `statusBar` outlive this. Made inside the life of Qt's application
  // object, which has windows wherever a menu is set.
  LinuxApplication(platform::SerialExecutor& mainThread, LinuxStatusBar& statusBar, const UserTexts& texts = {});

  [[nodiscard]] std::int32_t processIdentifier() const override;
  void setDelegate(std::weak_ptr<platform::ApplicationDelegate> delegate) override;
  void setActivationPolicy(platform::ActivationPolicy policy) override;
  void activateIgnoringOtherApplications() override;
  void terminate() override { loopEnd.terminate(); }
  void setApplicationMenu(const std::string& title, std::vector<platform::ApplicationMenuItem> items) override;

 private:
  void choose(const platform::ApplicationMenuItem& item);

  platform::SerialExecutor& mainThread;
  LinuxStatusBar& statusBar;
  const UserTexts texts;
  qt::LoopEnd loopEnd;
  platform::TaskHandle trim;
};

}  // namespace quillard::desktop
