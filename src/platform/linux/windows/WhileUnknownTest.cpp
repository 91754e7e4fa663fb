#include <functional>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "platform/linux/windows/Listeners.h"
#include "platform/linux/windows/WhileUnknown.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard::desktop {
namespace {

class Changes final : public WindowChanges {
 public:
  [[nodiscard]] platform::SubscriptionHandle observe(std::function<void(const WindowsSnapshot&)> onRead) override {
    return listeners.add(std::move(onRead));
  }
  [[nodiscard]] const WindowsSnapshot& lastSnapshot() const override { return last; }
  void report(WindowCoverage coverage) {
    last.coverage = coverage;
    listeners.tell(last);
  }

 private:
  WindowsSnapshot last;
  Listeners<WindowsSnapshot> listeners;
};

TEST(WhileUnknown, IsInPlaceFromTwoSecondsAfterTheStartUntilTheSourceHasReported) {
  platform::simulated::VirtualTime time{platform::simulated::Seed{1}};
  Changes changes;
  std::weak_ptr<void> kept;
  WhileUnknown unknown(changes, time.mainThread(), [&] {
    const auto made = std::make_shared<int>();
    kept = made;
    return made;
  });
  time.advance(Seconds{1.9});
  EXPECT_TRUE(kept.expired());
  time.advance(Seconds{0.2});
  EXPECT_FALSE(kept.expired());
  changes.report(WindowCoverage::all);
  EXPECT_TRUE(kept.expired());
  changes.report(WindowCoverage::none);
  EXPECT_FALSE(kept.expired()) << "The source has gone.";
}

TEST(WhileUnknown, ASourceThatReportsInTimeNeedsNothing) {
  platform::simulated::VirtualTime time{platform::simulated::Seed{1}};
  Changes changes;
  int made = 0;
  WhileUnknown unknown(changes, time.mainThread(), [&] { return std::make_shared<int>(++made); });
  changes.report(WindowCoverage::all);
  time.advance(Seconds{10});
  EXPECT_EQ(made, 0);
}

}  // namespace
}  // namespace quillard::desktop
