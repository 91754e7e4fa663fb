#include "platform/macos/objc/LoopEnd.h"

#include <utility>

#include <QtCore/QCoreApplication>

namespace quillard::macos {

struct LoopEnd::Connection {
  QMetaObject::Connection connection;
};

LoopEnd::LoopEnd(platform::SerialExecutor& mainThread)
    : mainThread(mainThread),
      aboutToQuit(std::make_unique<Connection>(
          Connection{QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit,
                                      QCoreApplication::instance(), [this] { tellOnce(); })})) {}

LoopEnd::~LoopEnd() { QObject::disconnect(aboutToQuit->connection); }

void LoopEnd::terminate() {
  if (std::exchange(isTerminating, true)) return;
  mainThread.post([this] {
    tellOnce();
    QCoreApplication::exit(0);
  });
}

void LoopEnd::tellOnce() {
  if (!std::exchange(isNotified, true) && onWillTerminate) onWillTerminate();
}

}  // namespace quillard::macos
