#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "values/Time.h"

namespace quillard::platform {

using Turn = std::function<void()>;

// A turn that is still ahead, or a repeating one. Cancelled on the executor that runs it, it does not run (again);
// cancelled from elsewhere, a turn that has begun runs to its end. Destroying the handle cancels. A turn may cancel or
// destroy its own handle; what it captured lives until it returns.
class ScheduledTask {
 public:
  ScheduledTask() = default;
  ScheduledTask(const ScheduledTask&) = delete;
  ScheduledTask& operator=(const ScheduledTask&) = delete;
  virtual ~ScheduledTask() = default;
  virtual void cancel() = 0;
};
using TaskHandle = std::unique_ptr<ScheduledTask>;

// Runs turns one at a time, in the order in which they were posted. Post from any thread.
class SerialExecutor {
 public:
  SerialExecutor() = default;
  SerialExecutor(const SerialExecutor&) = delete;
  SerialExecutor& operator=(const SerialExecutor&) = delete;
  virtual ~SerialExecutor() = default;

  // Runs `turn` as soon as all earlier turns are done. Never inside this call, even when already on this executor.
  virtual void post(Turn turn) = 0;

  // Runs `turn` once, not before `delay` has passed on the monotonic clock. Zero or less: as soon as a turn can start.
  // Infinite: never.
  [[nodiscard]] virtual TaskHandle postAfter(Seconds delay, Turn turn) = 0;

  // Runs `turn` after each `interval` of the monotonic clock, the first time after one interval. Ticks that could not
  // run in time are run once, not made up for. Where `interval` is a multiple of two seconds, a binding may move the
  // second tick by a second, and those after it with it, so that several repetitions wake the process up once.
  // `interval` is positive; infinite: never.
  [[nodiscard]] virtual TaskHandle repeatEvery(Seconds interval, Turn turn) = 0;

  // Whether the caller runs inside a turn of this executor.
  [[nodiscard]] virtual bool isCurrent() const = 0;
};

// How soon a queue's turns should get a processor when many want one.
enum class QualityOfService { standard, utility };

class Executors {
 public:
  virtual ~Executors() = default;

  // The loop that owns windows, timers and the agent's state. Lives as long as the process.
  virtual SerialExecutor& mainThread() = 0;

  // A queue of its own, away from the main thread. `label` names it to debuggers. Destroying the queue drops the turns
  // that have not begun and waits for the one that has; so never destroy it from inside one of its own turns.
  [[nodiscard]] virtual std::unique_ptr<SerialExecutor> makeSerialQueue(std::string_view label,
                                                                        QualityOfService quality) = 0;
};

}  // namespace quillard::platform
