#pragma once

#include <functional>
#include <memory>

#include "platform/linux/windows/DesktopWindows.h"
#include "platform/process/Executors.h"
#include "values/Time.h"

namespace quillard::desktop {

// Keeps something in place while the source of the windows knows nothing. A source that has just been made gets two
// seconds for its first answer; one that goes is replaced immediately. Main thread.
class WhileUnknown {
 public:
  static constexpr Seconds kFirstAnswerTime{2};

  // `changes` and `mainThread` outlive this. What `make` returns goes when the source knows its windows again.
  WhileUnknown(WindowChanges& changes, platform::SerialExecutor& mainThread,
               std::function<std::shared_ptr<void>()> make);

 private:
  void update(const WindowsSnapshot& snapshot);

  const std::function<std::shared_ptr<void>()> make;
  std::shared_ptr<void> kept;
  platform::TaskHandle firstCheck;
  platform::SubscriptionHandle subscription;
};

}  // namespace quillard::desktop
