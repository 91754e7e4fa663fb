#include "platform/qt/LoopEnd.h"

#include <utility>

#include <QtCore/QCoreApplication>

namespace quillard::qt {

struct LoopEnd::Connection {
  QMetaObject::Connection connection;
};

LoopEnd::LoopEnd(platform::SerialExecutor& mainThread)
    : mainThread(mainThread),
      aboutToQuit(std::make_unique<Connection>(
          Connection{QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit,
                                      QCoreApplication::instance(), [this] { notifyOnce(); })})) {}

LoopEnd::~LoopEnd() { QObject::disconnect(aboutToQuit->connection); }

void LoopEnd::terminate() {
  if (std::exchange(isTerminating, true)) return;
  mainThread.post([this] {
    notifyOnce();
    QCoreApplication::exit(0);
  });
}

void LoopEnd::notifyOnce() {
  if (std::exchange(isNotified, true)) return;
  if (const auto told = delegate.lock()) told->applicationWillTerminate();
}

}  // namespace quillard::qt
