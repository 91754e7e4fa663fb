#include <QtCore/QObject>

#include "platform/qt/window/TrayWatch.h"

namespace quillard::qt {
namespace {

// The menu bar is always there.
class MenuBarWatch final : public QObject, public TrayWatch {
 public:
  explicit MenuBarWatch(const std::function<void()>& onFound) {
    QMetaObject::invokeMethod(this, onFound, Qt::QueuedConnection);
  }
};

}  // namespace

std::unique_ptr<TrayWatch> TrayWatch::start(std::function<void()> onFound) {
  return std::make_unique<MenuBarWatch>(onFound);
}

}  // namespace quillard::qt
