#pragma once

#include "platform/process/Executors.h"
#include "platform/shell/StatusItem.h"

namespace quillard::macos {

// The system's menu bar. Items get exactly the length that they ask for, and images are drawn anew for each screen and
// appearance. Main thread.
class MacStatusBar final : public platform::StatusBar {
 public:
  // `mainThread` outlives this and its items.
  explicit MacStatusBar(platform::SerialExecutor& mainThread) : mainThread(mainThread) {}

  [[nodiscard]] std::unique_ptr<platform::StatusItem> makeStatusItem(double length,
                                                                     std::function<void()> onClick) override;

 private:
  platform::SerialExecutor& mainThread;
};

}  // namespace quillard::macos
