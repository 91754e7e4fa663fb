#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/process/Clock.h"
#include "platform/process/Executors.h"
#include "platform/simulated/Seed.h"
#include "values/Time.h"

namespace quillard::platform::simulated {

class TurnScheduler;

// A clock, a main thread and serial queues whose turns run one at a time, in a time of their own that moves only when
// it is told to. Nothing here waits for the real clock.
//
// Order: by time; among different executors that are ready at the same moment the seed chooses; within one executor
// strictly as posted (a delayed turn counts as posted when its delay is over). Time stands still within a turn, except
// while the turn sleeps: then the turns of all other executors run at their times, the sleeper's own wait, and it goes
// on at exactly its moment.
//
// A test drives it from outside any turn; there `sleep` means `advance`. Turns may be posted, and moments read, from
// any thread. What a turn throws comes out of the call that drove it.
class VirtualTime final : public Clock, public Executors {
 public:
  explicit VirtualTime(Seed seed);
  // As `shutDown`.
  ~VirtualTime() override;
  VirtualTime(const VirtualTime&) = delete;
  VirtualTime& operator=(const VirtualTime&) = delete;

  // Runs everything that is due within `duration`, and ends at exactly its end. Turns that sleep longer stay asleep.
  // `duration` is finite.
  void advance(Seconds duration);
  // Runs everything that is due now, and what that makes due now, without moving time.
  void runUntilIdle();
  // Runs `turn` as a turn of the main thread, and everything else that is due now.
  void runOnMainThread(Turn turn);

  // When the next turn starts or the next sleeper wakes. A moment not after now: something is due. Absent: nothing is
  // ahead.
  [[nodiscard]] std::optional<Instant> nextDue() const;

  // Sets what the wall clock shows now, as a user would. Turns that are ahead stay where they are.
  void setWallClock(Date date);

  // The computer sleeps for `duration`, which is finite and not negative, and wakes: the wall clock and the continuous
  // time have gone on, while the monotonic clock stood still and no turn ran.
  void suspend(Seconds duration);

  // How many turns may run without time moving before the process is stopped with a message. 10 million at first.
  void setRunawayLimit(std::uint64_t turns);

  // How many turns have begun so far, on all executors: what a quiet program must not run.
  [[nodiscard]] std::uint64_t turnCount() const;

  // Ends the world: drops all turns that have not begun, and unwinds those that are asleep, by an exception out of
  // their `sleep`. Afterwards turns that are posted are dropped, and nothing runs. From outside any turn.
  void shutDown();

  [[nodiscard]] Date now() const override;
  [[nodiscard]] Instant monotonicNow() const override;
  [[nodiscard]] std::chrono::milliseconds continuousTime() const override;
  void sleep(Seconds duration) override;

  SerialExecutor& mainThread() override;
  // Destroying the queue while one of its turns is asleep lets the world go on, time included, until that turn ends.
  [[nodiscard]] std::unique_ptr<SerialExecutor> makeSerialQueue(std::string_view label,
                                                                QualityOfService quality) override;

 private:
  std::shared_ptr<TurnScheduler> scheduler;  // Shared with queues and tasks, which may be destroyed later than this.
  std::unique_ptr<SerialExecutor> mainExecutor;
};

}  // namespace quillard::platform::simulated
