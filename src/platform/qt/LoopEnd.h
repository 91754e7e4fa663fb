#pragma once

#include <memory>

#include "platform/process/Application.h"
#include "platform/process/Executors.h"

namespace quillard::qt {

// The end of the Qt loop, however it comes: the agent ends itself, or the user or the system asks the application to
// quit, which Qt takes up. Main thread; made and destroyed inside the life of Qt's application object.
//
// A loop that does not run yet cannot be ended: call `terminate` from one of its turns.
class LoopEnd {
 public:
  // `mainThread` is the Qt loop, and outlives this.
  explicit LoopEnd(platform::SerialExecutor& mainThread);
  LoopEnd(const LoopEnd&) = delete;
  LoopEnd& operator=(const LoopEnd&) = delete;
  ~LoopEnd();

  // Its `applicationWillTerminate` is called once, before the loop ends.
  void setDelegate(std::weak_ptr<platform::ApplicationDelegate> newDelegate) { delegate = std::move(newDelegate); }
  // Ends the loop after the present turn. Asked again, nothing happens.
  void terminate();

 private:
  struct Connection;

  void notifyOnce();

  platform::SerialExecutor& mainThread;
  std::weak_ptr<platform::ApplicationDelegate> delegate;
  bool isTerminating = false;
  bool isNotified = false;
  const std::unique_ptr<Connection> aboutToQuit;
};

}  // namespace quillard::qt
