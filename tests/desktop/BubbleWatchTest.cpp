#include <string>

#include <gtest/gtest.h>

#include "desktop/LoopWaiting.h"
#include "desktop/PrivateDesktop.h"
#include "desktop/SampleClient.h"
#include "desktop/X11Binding.h"
#include "platform/linux/x11/BubbleWatch.h"

namespace quillard::x11 {
namespace {

using test::waitInLoop;

class BubbleWatchTest : public testing::Test {
 protected:
  std::uint32_t show(const std::string& type) { return client.open({.type = type, .isUnmanaged = true}); }
  [[nodiscard]] bool isReported(int count) {
    return waitInLoop([&] { return bubbles >= count; });
  }

  test::PrivateDesktop desktop;
  test::X11Binding binding{desktop.display()};
  test::SampleClient client{desktop.display()};
  int bubbles = 0;
  BubbleWatch watch{desktop.display(), binding.watch, [this] { ++bubbles; }};
};

TEST_F(BubbleWatchTest, ReportsNotificationsThatAreInNoList) {
  show("_NET_WM_WINDOW_TYPE_NOTIFICATION");
  EXPECT_TRUE(isReported(1));
  EXPECT_TRUE(binding.windows.snapshot().windows.empty());
  show("_KDE_NET_WM_WINDOW_TYPE_OVERRIDE");
  EXPECT_TRUE(isReported(2));
}

// As that of LXQt does when another notification comes, or one goes.
TEST_F(BubbleWatchTest, ReportsOneThatTakesAnotherSize) {
  const auto bubble = show("_KDE_NET_WM_WINDOW_TYPE_OVERRIDE");
  const auto menu = show("_NET_WM_WINDOW_TYPE_POPUP_MENU");
  EXPECT_TRUE(isReported(1));
  client.resize(bubble, 300, 400);
  EXPECT_TRUE(isReported(2));
  client.resize(menu, 300, 400);
  client.resize(bubble, 300, 200);
  EXPECT_TRUE(isReported(3));
  show("_NET_WM_WINDOW_TYPE_NOTIFICATION");
  EXPECT_TRUE(isReported(4));
  EXPECT_EQ(bubbles, 4);
}

TEST_F(BubbleWatchTest, ReportsNoMenuNoTooltipAndNothingThatIsManaged) {
  for (const char* type : {"_NET_WM_WINDOW_TYPE_POPUP_MENU", "_NET_WM_WINDOW_TYPE_TOOLTIP", ""}) show(type);
  client.open({.type = "_NET_WM_WINDOW_TYPE_NOTIFICATION"});
  EXPECT_TRUE(waitInLoop([&] { return binding.watch.lastSnapshot().windows.size() == 1; }));
  show("_NET_WM_WINDOW_TYPE_NOTIFICATION");
  EXPECT_TRUE(isReported(1));
  EXPECT_EQ(bubbles, 1);
}

TEST_F(BubbleWatchTest, SurvivesTheServer) {
  desktop.killDisplay();
  EXPECT_TRUE(
      waitInLoop([&] { return binding.watch.lastSnapshot().coverage == quillard::desktop::WindowCoverage::none; }));
  EXPECT_EQ(bubbles, 0);
}

}  // namespace
}  // namespace quillard::x11
