#include <QtWidgets/QApplication>
#include <QtWidgets/QMenu>

#include "contract/process/ApplicationContract.h"
#include "platform/linux/shell/LinuxApplication.h"
#include "platform/qt/QtExecutors.h"

namespace quillard::test {
namespace {

class LinuxBinding final : public ApplicationBinding {
 public:
  platform::Application& application() override { return itsApplication; }
  platform::SerialExecutor& mainThread() override { return executors.mainThread(); }
  void runTurns() override {
    constexpr int kTurnsThatPostTurns = 3;
    for (int i = 0; i < kTurnsThatPostTurns; ++i) {
      bool isDone = false;
      mainThread().post([&isDone] { isDone = true; });
      while (!isDone) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
  }
  bool runToEnd() override {
    constexpr Seconds kTimeout{20};
    constexpr int kNotEnded = 1;
    const auto alarm = mainThread().postAfter(kTimeout, [] { QCoreApplication::exit(kNotEnded); });
    return QCoreApplication::exec() == 0;
  }
  void choose(std::string_view title) override {
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
      auto* const menu = qobject_cast<QMenu*>(widget);
      if (!menu) continue;
      for (QAction* const action : menu->actions()) {
        if (action->text().toStdString() == title) action->trigger();
      }
    }
  }
  bool reopen(bool /*hasVisibleWindows*/) override { return false; }

 private:
  qt::QtExecutors executors;
  desktop::LinuxStatusBar statusBar;
  desktop::LinuxApplication itsApplication{executors.mainThread(), statusBar};
};

std::unique_ptr<ApplicationBinding> makeLinux() { return std::make_unique<LinuxBinding>(); }

INSTANTIATE_TEST_SUITE_P(Linux, ApplicationContract, testing::Values(ApplicationCase{"OverQt", makeLinux}),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
}  // namespace quillard::test
