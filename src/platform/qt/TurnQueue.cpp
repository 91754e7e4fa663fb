#include "platform/qt/TurnQueue.h"

#include <chrono>
#include <cmath>
#include <vector>

namespace quillard::qt {

using platform::TaskHandle;
using platform::Turn;

Instant steadyNow() {
  const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
  return Instant{std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart)};
}

namespace {

// The first tick after `now` of a repetition whose last tick was due at `due`.
Instant tickAfter(Instant due, Instant now, Seconds interval) {
  const Instant next = advanced(due, interval);
  if (next > now) return next;
  const double missed = std::floor(Seconds(now - due) / interval);
  const Instant onGrid = advanced(due, interval * (missed + 1));
  return onGrid > now ? onGrid : advanced(now, interval);  // Rounding, of a very short interval.
}

}  // namespace

Instant nextTick(Instant due, Instant now, Seconds interval) {
  constexpr Seconds kGrid{2};
  constexpr double kMostSteps = 1e6;
  const Instant next = tickAfter(due, now, interval);
  const double steps = interval / kGrid;
  if (steps < 1 || steps > kMostSteps || steps != std::floor(steps)) return next;
  const auto grid = std::chrono::duration_cast<Instant::duration>(kGrid);
  const auto sinceStep = next.time_since_epoch() % grid;
  const Instant before = next - sinceStep;
  const Instant nearest = sinceStep * 2 < grid ? before : before + grid;
  return nearest > now ? nearest : nearest + grid;
}

class TurnQueue::Handle final : public platform::ScheduledTask {
 public:
  Handle(std::weak_ptr<TurnQueue> queue, EntryPointer entry) : queue(std::move(queue)), entry(std::move(entry)) {}
  ~Handle() override { Handle::cancel(); }
  void cancel() override {
    if (const auto found = queue.lock()) found->cancel(entry);
  }

 private:
  const std::weak_ptr<TurnQueue> queue;
  const EntryPointer entry;
};

TurnQueue::TurnQueue(std::function<void()> wake) : wake(std::move(wake)) {}

TurnQueue::~TurnQueue() { close(); }

void TurnQueue::post(Turn turn) {
  auto entry = std::make_shared<Entry>();
  entry->turn = std::move(turn);
  {
    const MutexLock lock(mutex);
    if (isClosed) return;
    ready.push_back(std::move(entry));
  }
  wake();
}

TaskHandle TurnQueue::postAfter(Seconds delay, Turn turn) {
  auto entry = std::make_shared<Entry>();
  entry->turn = std::move(turn);
  return schedule(std::move(entry), delay);
}

TaskHandle TurnQueue::repeatEvery(Seconds interval, Turn turn) {
  auto entry = std::make_shared<Entry>();
  entry->turn = std::move(turn);
  entry->interval = interval;
  return schedule(std::move(entry), interval);
}

TaskHandle TurnQueue::schedule(EntryPointer entry, Seconds delay) {
  entry->due = advanced(steadyNow(), delay);
  auto handle = std::make_unique<Handle>(weak_from_this(), entry);
  {
    const MutexLock lock(mutex);
    if (isClosed) return handle;
    entry->number = ++lastNumber;
    if (delay <= Seconds::zero()) {
      ready.push_back(std::move(entry));
    } else {
      insertTimed(entry);
    }
  }
  wake();
  return handle;
}

void TurnQueue::insertTimed(const EntryPointer& entry) { timed.emplace(std::pair{entry->due, entry->number}, entry); }

void TurnQueue::cancel(const EntryPointer& entry) {
  Turn dropped;
  const MutexLock lock(mutex);
  entry->isCancelled = true;
  timed.erase({entry->due, entry->number});
  if (!entry->isRunning) dropped.swap(entry->turn);
}

void TurnQueue::promoteDue(Instant now) {
  while (!timed.empty() && timed.begin()->first.first <= now) {
    ready.push_back(timed.begin()->second);
    timed.erase(timed.begin());
  }
}

// Takes the next turn out and, for a repeating one, puts its next tick in.
TurnQueue::EntryPointer TurnQueue::begin(Instant now) {
  promoteDue(now);
  while (!ready.empty() && ready.front()->isCancelled) ready.pop_front();
  if (ready.empty()) return nullptr;
  EntryPointer entry = std::move(ready.front());
  ready.pop_front();
  entry->isRunning = true;
  if (entry->interval) {
    entry->due = nextTick(entry->due, now, *entry->interval);
    insertTimed(entry);
  }
  return entry;
}

bool TurnQueue::runNext() {
  EntryPointer entry;
  {
    const MutexLock lock(mutex);
    entry = begin(steadyNow());
  }
  if (!entry) return false;
  entry->turn();
  Turn done;
  const MutexLock lock(mutex);
  entry->isRunning = false;
  if (!entry->interval || entry->isCancelled || isClosed) done.swap(entry->turn);
  return true;
}

std::size_t TurnQueue::readyCount() {
  const MutexLock lock(mutex);
  promoteDue(steadyNow());
  return ready.size();
}

std::optional<Instant> TurnQueue::nextDue() {
  const MutexLock lock(mutex);
  if (!ready.empty()) return Instant::min();
  if (timed.empty()) return std::nullopt;
  return timed.begin()->first.first;
}

void TurnQueue::close() {
  std::vector<Turn> dropped;
  const MutexLock lock(mutex);
  isClosed = true;
  const auto drop = [&](const EntryPointer& entry) {
    entry->isCancelled = true;
    if (!entry->isRunning) dropped.push_back(std::move(entry->turn));
  };
  for (const EntryPointer& entry : ready) drop(entry);
  for (const auto& [due, entry] : timed) drop(entry);
  ready.clear();
  timed.clear();
}

}  // namespace quillard::qt
