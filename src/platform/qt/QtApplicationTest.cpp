#include <memory>
#include <string>
#include <vector>

#include <QtGui/QGuiApplication>
#include <QtGui/QWindow>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/qt/QtApplication.h"
#include "platform/qt/QtExecutors.h"
#include "support/QtWait.h"
#include "support/RecordingDelegate.h"

namespace quillard::qt {
namespace {

using platform::ApplicationMenuAction;

class QtApplicationTest : public testing::Test {
 protected:
  QtExecutors executors;
  QtApplication application{executors.mainThread()};
  std::vector<std::string> happened;
};

TEST_F(QtApplicationTest, IsThisProcess) { EXPECT_EQ(application.processIdentifier(), ::getpid()); }

TEST_F(QtApplicationTest, EndsTheLoopAfterThePresentTurnAndSaysSoBefore) {
  const auto delegate = std::make_shared<test::RecordingDelegate>();
  application.setDelegate(delegate);
  delegate->onLaunch = [&] {
    application.terminate();
    application.terminate();
    delegate->calls.emplace_back("end of the turn");
  };
  EXPECT_TRUE(delegate->calls.empty());
  EXPECT_EQ(QCoreApplication::exec(), 0);
  EXPECT_EQ(delegate->calls, (std::vector<std::string>{"did finish launching", "end of the turn", "will terminate"}));
}

TEST_F(QtApplicationTest, KeepsItsActivationPolicy) {
  application.setActivationPolicy(platform::ActivationPolicy::accessory);
  EXPECT_EQ(application.activationPolicy(), platform::ActivationPolicy::accessory);
}

TEST_F(QtApplicationTest, TellsOfEveryActivationPolicyThatIsChosen) {
  application.setOnActivationPolicy([this] {
    happened.emplace_back(application.activationPolicy() == platform::ActivationPolicy::regular ? "regular" : "other");
  });
  application.setActivationPolicy(platform::ActivationPolicy::regular);
  application.setActivationPolicy(platform::ActivationPolicy::accessory);
  application.setActivationPolicy(platform::ActivationPolicy::accessory);
  EXPECT_EQ(happened, (std::vector<std::string>{"regular", "other", "other"}));
}

TEST_F(QtApplicationTest, KeepsTheNewestMenuAndTellsThatItChanged) {
  application.setOnMenuChange([this] { happened.push_back(application.applicationMenu().items.front().title); });
  application.setApplicationMenu("Quillard", {{.title = "First", .keyEquivalent = {}, .onChoice = {}}});
  application.setApplicationMenu("Quillard", {{.title = "Second", .keyEquivalent = {}, .onChoice = {}}});
  EXPECT_EQ(happened, (std::vector<std::string>{"First", "Second"}));
  EXPECT_EQ(application.applicationMenu().title, "Quillard");
  EXPECT_EQ(application.applicationMenu().items.size(), 1U);
}

TEST_F(QtApplicationTest, DoesWhatAMenuItemIsFor) {
  application.setOnAboutPanel([this] { happened.emplace_back("about"); });
  const auto custom = [this] { happened.emplace_back("custom"); };
  application.choose(
      {.title = "About", .action = ApplicationMenuAction::standardAboutPanel, .keyEquivalent = {}, .onChoice = custom});
  application.choose({.title = "Show", .keyEquivalent = {}, .onChoice = custom});
  application.choose({.title = "Greyed out", .keyEquivalent = {}, .isEnabled = false, .onChoice = custom});
  application.choose({.title = "", .keyEquivalent = {}, .onChoice = custom});
  application.choose({.title = "No effect", .keyEquivalent = {}, .onChoice = {}});
  EXPECT_EQ(happened, (std::vector<std::string>{"about", "custom"}));
  application.choose(
      {.title = "Quit", .action = ApplicationMenuAction::terminate, .keyEquivalent = "q", .onChoice = custom});
  EXPECT_EQ(QCoreApplication::exec(), 0);
}

TEST_F(QtApplicationTest, BringsItsWindowsToTheFrontAndBackFromBeingMinimised) {
  QWindow window;
  window.showMinimized();
  QWindow hidden;
  ASSERT_TRUE(test::waitUntil([&] { return window.windowStates().testFlag(Qt::WindowMinimized); }));
  application.activateIgnoringOtherApplications();
  EXPECT_TRUE(test::waitUntil([&] { return QGuiApplication::focusWindow() == &window; }));
  EXPECT_FALSE(window.windowStates().testFlag(Qt::WindowMinimized));
  EXPECT_FALSE(hidden.isVisible());
}

}  // namespace
}  // namespace quillard::qt

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QGuiApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
