#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "foundation/Mutex.h"
#include "platform/process/Executors.h"
#include "values/Time.h"

namespace quillard::qt {

// The steady clock as a moment of the platform's monotonic time.
[[nodiscard]] Instant steadyNow();

// When a repetition is due again whose last tick was due at `due`. What is repeated at multiples of two seconds ticks
// at full even seconds of the clock, so that an idle process wakes up once for all; this moves a tick once, by a
// second.
[[nodiscard]] Instant nextTick(Instant due, Instant now, Seconds interval);

// The turns of one executor that are still ahead, in the order in which they may run. It knows no thread: whoever owns
// it, the runner, calls `runNext` from one thread, and is woken through `wake` whenever there may be more to do, or
// sooner. Everything else from any thread.
//
// Turns and what they hold are destroyed with no lock held.
class TurnQueue : public std::enable_shared_from_this<TurnQueue> {
 public:
  // `wake` only leaves a note for the runner; it never runs turns.
  explicit TurnQueue(std::function<void()> wake);
  TurnQueue(const TurnQueue&) = delete;
  TurnQueue& operator=(const TurnQueue&) = delete;
  ~TurnQueue();

  void post(platform::Turn turn);
  [[nodiscard]] platform::TaskHandle postAfter(Seconds delay, platform::Turn turn);
  [[nodiscard]] platform::TaskHandle repeatEvery(Seconds interval, platform::Turn turn);

  // Runs one turn. False when none may run yet.
  bool runNext();
  // How many turns may run now.
  [[nodiscard]] std::size_t readyCount();
  // When the next turn may run: the past when one may now. Absent when only a wake can bring one.
  [[nodiscard]] std::optional<Instant> nextDue();

  // Drops everything, and whatever is posted from now on.
  void close();

 private:
  struct Entry {
    platform::Turn turn;
    std::optional<Seconds> interval;  // Absent: runs once.
    std::uint64_t number = 0;         // Orders turns that are due at one moment.
    Instant due;
    bool isRunning = false;
    bool isCancelled = false;
  };
  using EntryPointer = std::shared_ptr<Entry>;
  using Timed = std::map<std::pair<Instant, std::uint64_t>, EntryPointer>;
  class Handle;

  platform::TaskHandle schedule(EntryPointer entry, Seconds delay);
  void cancel(const EntryPointer& entry);
  void insertTimed(const EntryPointer& entry) QUILLARD_REQUIRES(mutex);
  void promoteDue(Instant now) QUILLARD_REQUIRES(mutex);
  EntryPointer begin(Instant now) QUILLARD_REQUIRES(mutex);

  const std::function<void()> wake;
  Mutex mutex;
  std::deque<EntryPointer> ready QUILLARD_GUARDED_BY(mutex);
  Timed timed QUILLARD_GUARDED_BY(mutex);
  std::uint64_t lastNumber QUILLARD_GUARDED_BY(mutex) = 0;
  bool isClosed QUILLARD_GUARDED_BY(mutex) = false;
};

}  // namespace quillard::qt
