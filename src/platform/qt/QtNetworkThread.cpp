#include "platform/qt/QtNetworkThread.h"

#include <future>

#include <QtCore/QThread>

#include "platform/qt/QtLoopExecutor.h"

namespace quillard::qt {

class QtNetworkThread::Thread final : public QThread {
 public:
  // Starts, and waits until there is a loop to post to.
  platform::SerialExecutor* startLoop() {
    auto executor = started.get_future();
    setObjectName(QStringLiteral("network"));
    start();
    return executor.get();
  }

 protected:
  void run() override {
    QtLoopExecutor turns;
    started.set_value(&turns);
    exec();
  }

 private:
  std::promise<platform::SerialExecutor*> started;
};

QtNetworkThread::QtNetworkThread() : thread(std::make_unique<Thread>()), loop(thread->startLoop()) {}

QtNetworkThread::~QtNetworkThread() {
  thread->quit();
  thread->wait();
}

}  // namespace quillard::qt
