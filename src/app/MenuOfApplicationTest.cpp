#include <string>
#include <vector>

#include <QtWidgets/QApplication>
#include <QtWidgets/QMenu>
#include <gtest/gtest.h>

#include "app/MenuOfApplication.h"
#include "platform/qt/QtApplication.h"
#include "platform/qt/QtExecutors.h"

namespace quillard::app {
namespace {

using platform::ApplicationMenuAction;
using Titles = std::vector<std::string>;

class MenuOfApplicationTest : public testing::Test {
 protected:
  Titles titles() {
    Titles found;
    for (const auto* const action : menu.menu()->actions()) {
      found.push_back(action->isSeparator() ? "-" : action->text().toStdString());
    }
    return found;
  }

  qt::QtExecutors executors;
  qt::QtApplication application{executors.mainThread()};
  MenuOfApplication menu{application};
};

TEST_F(MenuOfApplicationTest, FollowsTheApplicationsMenu) {
  EXPECT_EQ(titles(), Titles{});
  application.setApplicationMenu("Quillard",
                                 {{.title = "About", .keyEquivalent = {}, .onChoice = {}},
                                  {.title = "", .keyEquivalent = {}, .onChoice = {}},
                                  {.title = "Quit", .keyEquivalent = "q", .isEnabled = false, .onChoice = {}}});
  EXPECT_EQ(titles(), (Titles{"About", "-", "Quit"}));
  EXPECT_TRUE(menu.menu()->actions()[0]->isEnabled());
  EXPECT_FALSE(menu.menu()->actions()[2]->isEnabled());
  EXPECT_EQ(menu.menu()->actions()[2]->shortcut(), QKeySequence("Ctrl+Q"));
  EXPECT_EQ(menu.menu()->title().toStdString(), "Quillard");
  application.setApplicationMenu("Quillard", {{.title = "Only", .keyEquivalent = {}, .onChoice = {}}});
  EXPECT_EQ(titles(), Titles{"Only"});
}

TEST_F(MenuOfApplicationTest, DoesWhatAnItemIsForEvenIfThatReplacesTheMenu) {
  int chosen = 0;
  application.setApplicationMenu("Quillard", {{.title = "Replace", .keyEquivalent = {}, .onChoice = [this, &chosen] {
                                                 application.setApplicationMenu("Quillard", {});
                                                 ++chosen;
                                               }}});
  menu.menu()->actions()[0]->trigger();
  EXPECT_EQ(chosen, 1);
  EXPECT_EQ(titles(), Titles{});
}

}  // namespace
}  // namespace quillard::app

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
