#pragma once

#include "platform/process/Executors.h"
#include "platform/qt/QtLoopExecutor.h"

namespace quillard::qt {

// The main thread is the Qt event loop of the thread that makes this object, before the loop runs. Every serial queue
// has a thread of its own; timers follow the steady clock.
class QtExecutors final : public platform::Executors {
 public:
  platform::SerialExecutor& mainThread() override { return loop; }
  [[nodiscard]] std::unique_ptr<platform::SerialExecutor> makeSerialQueue(std::string_view label,
                                                                          platform::QualityOfService quality) override;

 private:
  QtLoopExecutor loop;
};

}  // namespace quillard::qt
