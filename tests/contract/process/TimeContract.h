#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/process/Clock.h"
#include "platform/process/Executors.h"

namespace quillard::test {

// Executors and the clock that their delays follow: of one binding, since virtual time is both.
class TimeBinding {
 public:
  TimeBinding() = default;
  TimeBinding(const TimeBinding&) = delete;
  TimeBinding& operator=(const TimeBinding&) = delete;
  virtual ~TimeBinding() = default;

  virtual platform::Executors& executors() = 0;
  virtual platform::Clock& clock() = 0;
  // Lets time pass, and turns run, until `condition` holds. False when five seconds have passed without it.
  virtual bool eventually(const std::function<bool()>& condition) = 0;
};

enum class ExecutorKind { mainThread, serialQueue };

struct TimeCase {
  std::string name;
  ExecutorKind kind = ExecutorKind::mainThread;
  std::unique_ptr<TimeBinding> (*make)() = nullptr;
};

// What the agent relies on in each executor. Tests use delays of a few milliseconds: most bindings wait for them.
class ExecutorContract : public testing::TestWithParam<TimeCase> {
 protected:
  // Runs `body` in a turn and waits for it.
  void run(const std::function<void()>& body);

  const std::unique_ptr<TimeBinding> binding = GetParam().make();
  platform::Clock& clock = binding->clock();
  const std::unique_ptr<platform::SerialExecutor> queue =
      GetParam().kind == ExecutorKind::serialQueue
          ? binding->executors().makeSerialQueue("contract", platform::QualityOfService::utility)
          : nullptr;
  platform::SerialExecutor& executor = queue ? *queue : binding->executors().mainThread();
};

// What only queues do: they end, and there are several.
class SerialQueueContract : public testing::TestWithParam<TimeCase> {
 protected:
  const std::unique_ptr<TimeBinding> binding = GetParam().make();
  platform::Clock& clock = binding->clock();
};

class ClockContract : public testing::TestWithParam<TimeCase> {
 protected:
  const std::unique_ptr<TimeBinding> binding = GetParam().make();
  platform::Clock& clock = binding->clock();
};

[[nodiscard]] inline std::string timeCaseName(const testing::TestParamInfo<TimeCase>& info) { return info.param.name; }

// Instantiates the three suites for what `MAKE` makes.
#define QUILLARD_TIME_CONTRACT(NAME, MAKE)                                                                          \
  INSTANTIATE_TEST_SUITE_P(NAME, ExecutorContract,                                                                  \
                           testing::Values(TimeCase{"MainThread", ExecutorKind::mainThread, MAKE},                  \
                                           TimeCase{"SerialQueue", ExecutorKind::serialQueue, MAKE}),               \
                           timeCaseName);                                                                           \
  INSTANTIATE_TEST_SUITE_P(NAME, SerialQueueContract,                                                               \
                           testing::Values(TimeCase{"Queues", ExecutorKind::serialQueue, MAKE}), timeCaseName);     \
  INSTANTIATE_TEST_SUITE_P(NAME, ClockContract, testing::Values(TimeCase{"Clock", ExecutorKind::mainThread, MAKE}), \
                           timeCaseName)

}  // namespace quillard::test
