#include "platform/linux/windows/WhileUnknown.h"

#include <utility>

namespace quillard::desktop {

WhileUnknown::WhileUnknown(WindowChanges& changes, platform::SerialExecutor& mainThread,
                           std::function<std::shared_ptr<void>()> make)
    : make(std::move(make)),
      firstCheck(mainThread.postAfter(kFirstAnswerTime, [this, &changes] { update(changes.lastSnapshot()); })),
      subscription(changes.observe([this](const WindowsSnapshot& snapshot) { update(snapshot); })) {}

void WhileUnknown::update(const WindowsSnapshot& snapshot) {
  if (snapshot.coverage != WindowCoverage::none) {
    kept.reset();
  } else if (!kept) {
    kept = make();
  }
}

}  // namespace quillard::desktop
