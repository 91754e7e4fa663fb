#include "app/MenuOfApplication.h"

#include <QtWidgets/QMenu>

#include "platform/qt/QtApplication.h"

namespace quillard::app {

MenuOfApplication::MenuOfApplication(qt::QtApplication& application)
    : application(application), shown(std::make_unique<QMenu>()) {
  application.setOnMenuChange([this] { fill(); });
  fill();
}

MenuOfApplication::~MenuOfApplication() { application.setOnMenuChange({}); }

void MenuOfApplication::fill() {
  shown->clear();
  shown->setTitle(QString::fromStdString(application.applicationMenu().title));
  for (const auto& item : application.applicationMenu().items) {
    if (item.title.empty()) {
      shown->addSeparator();
      continue;
    }
    auto* const action = shown->addAction(QString::fromStdString(item.title));
    action->setEnabled(item.isEnabled);
    if (!item.keyEquivalent.empty()) {
      action->setShortcut(QKeySequence(QStringLiteral("Ctrl+") + QString::fromStdString(item.keyEquivalent)));
    }
    // A copy, since choosing it may replace the menu.
    QObject::connect(action, &QAction::triggered, action, [this, item] { application.choose(item); });
  }
}

}  // namespace quillard::app
