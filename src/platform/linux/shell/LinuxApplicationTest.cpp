#include <memory>
#include <optional>
#include <string>

#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMessageBox>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/shell/LinuxApplication.h"
#include "platform/qt/QtExecutors.h"
#include "platform/simulated/VirtualTime.h"
#include "support/QtWait.h"

namespace quillard::desktop {
namespace {

using platform::ActivationPolicy;
using platform::ApplicationMenuAction;
using platform::simulated::Seed;
using platform::simulated::VirtualTime;

class LinuxApplicationTest : public testing::Test {
 protected:
  qt::QtExecutors executors;
  LinuxStatusBar statusBar;
  LinuxApplication application{executors.mainThread(), statusBar};
};

// Of the kind that is shown now. Null: none is.
template <class Widget>
Widget* shownWidget() {
  for (QWidget* const widget : QApplication::topLevelWidgets()) {
    if (auto* const found = qobject_cast<Widget*>(widget); found && found->isVisible()) return found;
  }
  return nullptr;
}

TEST_F(LinuxApplicationTest, IsThisProcess) { EXPECT_EQ(application.processIdentifier(), ::getpid()); }

TEST_F(LinuxApplicationTest, ShowsAPanelAboutItself) {
  QCoreApplication::setApplicationVersion("1.2.3");
  application.setApplicationMenu("Quillard", {{.title = "About", .action = ApplicationMenuAction::standardAboutPanel}});
  EXPECT_FALSE(shownWidget<QMessageBox>());
  for (QWidget* const widget : QApplication::topLevelWidgets()) {
    if (auto* const menu = qobject_cast<QMenu*>(widget)) menu->actions().constFirst()->trigger();
  }
  auto* const panel = shownWidget<QMessageBox>();
  ASSERT_TRUE(panel);
  EXPECT_EQ(panel->windowTitle(), "About Quillard");
  EXPECT_TRUE(panel->text().startsWith("Quillard 1.2.3\n")) << panel->text().toStdString();
  panel->close();
}

TEST_F(LinuxApplicationTest, BringsItsWindowsToTheFrontAndBackFromBeingMinimised) {
  QWindow window;
  window.showMinimized();
  QWindow hidden;
  ASSERT_TRUE(test::waitUntil([&] { return window.windowStates().testFlag(Qt::WindowMinimized); }));
  application.activateIgnoringOtherApplications();
  EXPECT_TRUE(test::waitUntil([&] { return QGuiApplication::focusWindow() == &window; }));
  EXPECT_FALSE(window.windowStates().testFlag(Qt::WindowMinimized));
  EXPECT_FALSE(hidden.isVisible());
}

TEST(LinuxApplication, ReleasesMemoryOnceTheWindowThatCameOrWentHasSettled) {
  VirtualTime time{Seed{1}};
  LinuxStatusBar statusBar;
  LinuxApplication application(time.mainThread(), statusBar);
  EXPECT_EQ(time.nextDue(), std::nullopt);
  application.setActivationPolicy(ActivationPolicy::regular);
  time.advance(Seconds{3});
  application.setActivationPolicy(ActivationPolicy::accessory);
  EXPECT_EQ(time.nextDue(), time.monotonicNow() + LinuxApplication::kWindowHasSettled) << "The newest change counts.";
  time.advance(LinuxApplication::kWindowHasSettled);
  EXPECT_EQ(time.nextDue(), std::nullopt) << "It is done once.";
  application.setActivationPolicy(ActivationPolicy::accessory);
  EXPECT_NE(time.nextDue(), std::nullopt) << "A choice of the policy that holds already counts, too.";
}

}  // namespace
}  // namespace quillard::desktop
