#include "platform/qt/QtNetworkThread.h"

#include <future>
#include <thread>

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QEventLoop>

#include "platform/qt/QtLoopExecutor.h"
#include "platform/qt/ThreadTraits.h"

namespace quillard::qt {

// A thread of the standard library rather than Qt's: joining it waits for its very end, when the TLS library has let go
// of what it keeps for each thread. Qt's own wait returns a little earlier.
class QtNetworkThread::Thread {
 public:
  Thread() : thread([this] { run(); }), executor(started.get_future().get()) {}
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;
  ~Thread() {
    executor->post([this] { eventLoop->quit(); });
    posted.set_value();
    thread.join();
  }

  [[nodiscard]] platform::SerialExecutor* loop() const { return executor; }

 private:
  void run() {
    setThreadTraits("network", platform::QualityOfService::standard);
    QEventLoop events;
    eventLoop = &events;
    {
      QtLoopExecutor turns;
      started.set_value(&turns);
      events.exec();
      posted.get_future().wait();  // Whoever posted the last turn may still be at it.
    }
    // What the last turns held may have left sockets to be deleted later: that is now.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }

  std::promise<platform::SerialExecutor*> started;
  std::promise<void> posted;
  QEventLoop* eventLoop = nullptr;  // Of the thread's own, and used there only.
  std::thread thread;
  platform::SerialExecutor* const executor;
};

QtNetworkThread::QtNetworkThread() : thread(std::make_unique<Thread>()), loop(thread->loop()) {}

QtNetworkThread::~QtNetworkThread() = default;

}  // namespace quillard::qt
