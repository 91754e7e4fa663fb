#include <cstdio>
#include <functional>
#include <string>

#include <QtCore/QTimer>
#include <QtGui/QFont>
#include <QtWidgets/QApplication>
#include <QtWidgets/QSystemTrayIcon>

#include "platform/linux/shell/LinuxStatusBar.h"
#include "platform/linux/shell/PortalColorScheme.h"
#include "platform/qt/window/QtStatusWindowViews.h"
#include "status/MenuBarIcon.h"
#include "window/StatusWindowStates.h"

// Shows the status window in the state named first, as of a Mac, or as of a computer or in German where that name
// begins with "computer-" or "german-", and a tray icon with "tray" as the second word; says on standard output what
// happens to them.
namespace {

using namespace quillard;

void say(const std::string& line) {
  std::puts(line.c_str());
  std::fflush(stdout);
}

StatusWindowContent contentOf(const std::string& name) {
  // Their pictures take memory, and that of a program is measured: no more of them than needed.
  const bool isOfMac = !name.starts_with("computer-") && !name.starts_with("german-");
  for (const auto& state : isOfMac ? test::statusWindowStates() : test::allStatusWindowStates()) {
    if (state.name == name) return state.content;
  }
  return {};
}

// Says where the icon is in a tray of the classic kind, whenever it is put elsewhere.
void reportPlace(const QObject& item, QPoint& known) {
  for (const auto* icon : item.findChildren<QSystemTrayIcon*>()) {
    const QPoint middle = icon->geometry().center();
    if (!icon->geometry().isValid() || middle == known) continue;
    known = middle;
    say("docked " + std::to_string(middle.x()) + " " + std::to_string(middle.y()));
  }
}

}  // namespace

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication::setFont(QFont{"DejaVu Sans", 10});
  const std::string state = argc > 1 ? argv[1] : "";

  std::unique_ptr<StatusWindowView> view;
  qt::QtStatusWindowViews views(desktop::watchPortalColorScheme);
  view = views.makeStatusWindowView({.onButton =
                                         [&view](StatusWindowButton button) {
                                           say("button " + std::to_string(static_cast<int>(button)));
                                           if (button != StatusWindowButton::notificationPauseSecondary) return;
                                           view->popUpMenu(
                                               button, {{"Pause for 4 Hours"}, {"Pause Forever"}, {""}, {"Resume Now"}},
                                               [](std::size_t index) { say("choice " + std::to_string(index)); });
                                         },
                                     .onWillClose = [] { say("closed"); },
                                     .onAppearanceChange =
                                         [&view] {
                                           view->updateAppearance();
                                           say("appearance changed");
                                         }});
  if (!contentOf(state).title.empty()) {
    view->setContent(contentOf(state));
    view->fitToScreen();
    view->updateAppearance();
    view->show();
  }

  desktop::LinuxStatusBar bar;
  std::unique_ptr<platform::StatusItem> item;
  QTimer places;
  QPoint place;
  if (argc > 2) {
    bar.setApplicationMenu({{.title = "About Quillard"}, {.title = ""}, {.title = "Quit Quillard"}},
                           [](const auto& chosen) { say("menu " + chosen.title); });
    item = bar.makeStatusItem(MenuBarIcon::idleLength, [&view] {
      view->show();
      say("clicked");
    });
    item->setImage(MenuBarIcon::image(0));
    item->setToolTip("Quillard");
    QObject::connect(&places, &QTimer::timeout, [&] { reportPlace(dynamic_cast<QObject&>(*item), place); });
    places.start(20);
  }
  QTimer::singleShot(0, [] { say("ready"); });
  return QApplication::exec();
}
