#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "platform/process/Executors.h"

namespace quillard::test {

// How much faster than the clock the delays of hurried executors pass: 3 s until a next attempt are a tenth of one.
inline constexpr int kHurry = 30;

// Real turns with hurried delays, over an executor that outlives this.
class HurriedExecutor final : public platform::SerialExecutor {
 public:
  explicit HurriedExecutor(platform::SerialExecutor& executor) : executor(executor) {}
  void post(platform::Turn turn) override { executor.post(std::move(turn)); }
  platform::TaskHandle postAfter(Seconds delay, platform::Turn turn) override {
    return executor.postAfter(delay / kHurry, std::move(turn));
  }
  platform::TaskHandle repeatEvery(Seconds interval, platform::Turn turn) override {
    return executor.repeatEvery(interval / kHurry, std::move(turn));
  }
  bool isCurrent() const override { return executor.isCurrent(); }

 private:
  platform::SerialExecutor& executor;
};

// The same over a queue that it owns.
class HurriedQueue final : public platform::SerialExecutor {
 public:
  explicit HurriedQueue(std::unique_ptr<SerialExecutor> owned) : queue(std::move(owned)), hurried(*queue) {}
  void post(platform::Turn turn) override { hurried.post(std::move(turn)); }
  platform::TaskHandle postAfter(Seconds delay, platform::Turn turn) override {
    return hurried.postAfter(delay, std::move(turn));
  }
  platform::TaskHandle repeatEvery(Seconds interval, platform::Turn turn) override {
    return hurried.repeatEvery(interval, std::move(turn));
  }
  bool isCurrent() const override { return hurried.isCurrent(); }

 private:
  std::unique_ptr<SerialExecutor> queue;
  HurriedExecutor hurried;
};

// Executors all of whose delays are hurried. `real` outlives this.
class HurriedExecutors final : public platform::Executors {
 public:
  explicit HurriedExecutors(platform::Executors& real) : real(real), main(real.mainThread()) {}
  platform::SerialExecutor& mainThread() override { return main; }
  std::unique_ptr<platform::SerialExecutor> makeSerialQueue(std::string_view label,
                                                            platform::QualityOfService quality) override {
    return std::make_unique<HurriedQueue>(real.makeSerialQueue(label, quality));
  }

 private:
  platform::Executors& real;
  HurriedExecutor main;
};

}  // namespace quillard::test
