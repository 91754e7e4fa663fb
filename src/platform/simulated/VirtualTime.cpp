#include "platform/simulated/VirtualTime.h"

#include <utility>

#include "platform/simulated/TurnScheduler.h"

namespace quillard::platform::simulated {

namespace {

class LaneTask final : public ScheduledTask {
 public:
  LaneTask(std::shared_ptr<TurnScheduler> scheduler, const std::shared_ptr<TurnScheduler::Lane>& lane,
           const std::shared_ptr<TurnScheduler::Job>& job)
      : scheduler(std::move(scheduler)), lane(lane), job(job) {}
  ~LaneTask() override { cancelNow(); }
  void cancel() override { cancelNow(); }

 private:
  void cancelNow() {
    const auto itsLane = lane.lock();
    const auto itsJob = job.lock();
    if (itsLane && itsJob) scheduler->cancel(*itsLane, itsJob);
  }

  std::shared_ptr<TurnScheduler> scheduler;
  std::weak_ptr<TurnScheduler::Lane> lane;  // Weak, since the turn may hold this very handle.
  std::weak_ptr<TurnScheduler::Job> job;
};

class LaneExecutor final : public SerialExecutor {
 public:
  LaneExecutor(std::shared_ptr<TurnScheduler> scheduler, std::string_view label)
      : scheduler(std::move(scheduler)), lane(this->scheduler->openLane(label)) {}
  ~LaneExecutor() override { scheduler->closeLane(lane); }

  void post(Turn turn) override { scheduler->put(*lane, Seconds::zero(), std::nullopt, std::move(turn)); }
  TaskHandle postAfter(Seconds delay, Turn turn) override {
    return task(scheduler->put(*lane, delay, std::nullopt, std::move(turn)));
  }
  TaskHandle repeatEvery(Seconds interval, Turn turn) override {
    return task(scheduler->put(*lane, interval, interval, std::move(turn)));
  }
  bool isCurrent() const override { return scheduler->isCurrent(*lane); }

 private:
  TaskHandle task(const std::shared_ptr<TurnScheduler::Job>& job) const {
    return std::make_unique<LaneTask>(scheduler, lane, job);
  }

  std::shared_ptr<TurnScheduler> scheduler;
  std::shared_ptr<TurnScheduler::Lane> lane;
};

}  // namespace

VirtualTime::VirtualTime(Seed seed)
    : scheduler(std::make_shared<TurnScheduler>(seed)),
      mainExecutor(std::make_unique<LaneExecutor>(scheduler, "main thread")) {}

VirtualTime::~VirtualTime() { shutDown(); }

void VirtualTime::advance(Seconds duration) { scheduler->advance(duration); }

void VirtualTime::runUntilIdle() { scheduler->runUntilIdle(); }

void VirtualTime::runOnMainThread(Turn turn) {
  mainExecutor->post(std::move(turn));
  runUntilIdle();
}

std::optional<Instant> VirtualTime::nextDue() const { return scheduler->nextDue(); }

void VirtualTime::setWallClock(Date date) { scheduler->setWallClock(date); }

void VirtualTime::suspend(Seconds duration) { scheduler->suspend(duration); }

void VirtualTime::setRunawayLimit(std::uint64_t turns) { scheduler->setRunawayLimit(turns); }

std::uint64_t VirtualTime::turnCount() const { return scheduler->turnCount(); }

void VirtualTime::shutDown() { scheduler->shutDown(); }

Date VirtualTime::now() const { return scheduler->wallNow(); }

Instant VirtualTime::monotonicNow() const { return scheduler->monotonicNow(); }

std::chrono::milliseconds VirtualTime::continuousTime() const { return scheduler->continuousTime(); }

void VirtualTime::sleep(Seconds duration) { scheduler->sleep(duration); }

SerialExecutor& VirtualTime::mainThread() { return *mainExecutor; }

std::unique_ptr<SerialExecutor> VirtualTime::makeSerialQueue(std::string_view label, QualityOfService) {
  return std::make_unique<LaneExecutor>(scheduler, label);
}

}  // namespace quillard::platform::simulated
