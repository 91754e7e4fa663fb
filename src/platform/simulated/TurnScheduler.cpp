#include "platform/simulated/TurnScheduler.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "foundation/BrokenPromise.h"

namespace quillard::platform::simulated {

namespace {

constexpr Instant kNever = Instant::max();

[[noreturn]] void stop(std::string_view brokenPromise) {
  std::fprintf(stderr, "VirtualTime: %.*s\n", static_cast<int>(brokenPromise.size()), brokenPromise.data());
  std::abort();
}

// To the nearest tick, since a length such as 1.001 s is not a whole number of them as a floating point number.
std::chrono::nanoseconds nearestTicks(Seconds length) {
  return saturatingDuration<std::chrono::nanoseconds>(length + Seconds{0.5e-9});
}

Instant saturatingSum(Instant moment, std::chrono::nanoseconds by) {
  return by > Instant::max() - moment ? Instant::max() : moment + by;
}

Instant after(Instant moment, Seconds delay) {
  return delay > Seconds::zero() ? saturatingSum(moment, nearestTicks(delay)) : moment;
}

}  // namespace

struct TurnScheduler::Job {
  Turn turn{};
  std::optional<std::chrono::nanoseconds> interval{};
  std::pair<Instant, std::uint64_t> position{};  // Among the jobs of its lane.
};

// States: has no turn under way -> `running` is its carrier -> no turn under way again; closed from any of them.
struct TurnScheduler::Lane {
  std::string label{};
  std::map<std::pair<Instant, std::uint64_t>, std::shared_ptr<Job>> jobs{};
  Carrier* running = nullptr;
  bool isClosed = false;
};

// States: idle -> running -> (asleep or waiting -> running)* -> idle.
struct TurnScheduler::Carrier {
  enum class State { idle, running, asleep, waiting };

  TurnScheduler* owner = nullptr;
  std::thread thread{};
  Baton baton{};
  bool isDismissed = false;  // Set before the last time that the baton is handed on to it.
  State state = State::idle;
  Lane* lane = nullptr;            // Unless idle.
  std::shared_ptr<Job> job{};      // From the moment it is chosen until it starts.
  Instant wakesAt{};               // While asleep.
  const Lane* waitsFor = nullptr;  // While waiting: until that lane has no turn under way.

  static thread_local Carrier* current;
};

thread_local TurnScheduler::Carrier* TurnScheduler::Carrier::current = nullptr;

void TurnScheduler::Baton::hand() {
  {
    const std::lock_guard<std::mutex> lock{mutex};
    isHere = true;
  }
  arrived.notify_one();
}

void TurnScheduler::Baton::await() {
  std::unique_lock<std::mutex> lock{mutex};
  arrived.wait(lock, [this] { return isHere; });
  isHere = false;
}

TurnScheduler::TurnScheduler(Seed seed) : generator(seed) {}

TurnScheduler::~TurnScheduler() = default;

// ---- Lanes

std::shared_ptr<TurnScheduler::Lane> TurnScheduler::openLane(std::string_view label) {
  auto lane = std::make_shared<Lane>();
  lane->label = label;
  const MutexLock lock{mutex};
  lane->isClosed = isEnding;
  lanes.push_back(lane);
  return lane;
}

void TurnScheduler::closeLane(const std::shared_ptr<Lane>& lane) {
  if (isCurrent(*lane)) stop("a queue is destroyed from inside one of its own turns");
  std::map<std::pair<Instant, std::uint64_t>, std::shared_ptr<Job>> dropped;  // Destroyed last, without the lock.
  Carrier* const self = currentCarrier();
  bool mustWait = false;
  {
    const MutexLock lock{mutex};
    lane->isClosed = true;
    dropped.swap(lane->jobs);
    mustWait = lane->running != nullptr;
    if (mustWait && self) {
      self->state = Carrier::State::waiting;
      self->waitsFor = lane.get();
      pause(*self);
      self->waitsFor = nullptr;
    }
  }
  if (mustWait && !self) drive(kNever, lane.get());
  const MutexLock lock{mutex};
  std::erase(lanes, lane);
}

std::shared_ptr<TurnScheduler::Job> TurnScheduler::put(Lane& lane, Seconds delay, std::optional<Seconds> interval,
                                                       Turn turn) {
  auto job = std::make_shared<Job>();
  job->turn = std::move(turn);
  if (interval) {
    if (!(*interval > Seconds::zero())) stop("the interval of a repeating turn is not positive");
    job->interval = std::max(nearestTicks(*interval), std::chrono::nanoseconds{1});
  }
  const MutexLock lock{mutex};
  if (!lane.isClosed) {
    job->position = {after(now, delay), jobsPut++};
    lane.jobs.emplace(job->position, job);
  }
  return job;
}

void TurnScheduler::cancel(Lane& lane, const std::shared_ptr<Job>& job) {
  const MutexLock lock{mutex};  // The caller's `job` outlives it, and with it what the turn holds.
  const auto found = lane.jobs.find(job->position);
  if (found != lane.jobs.end() && found->second == job) lane.jobs.erase(found);
}

bool TurnScheduler::isCurrent(const Lane& lane) const {
  const Carrier* const self = currentCarrier();
  return self && self->lane == &lane;
}

TurnScheduler::Carrier* TurnScheduler::currentCarrier() const {
  Carrier* const carrier = Carrier::current;
  return carrier && carrier->owner == this ? carrier : nullptr;
}

// ---- Time

void TurnScheduler::advance(Seconds duration) {
  mustBeOutside("advance");
  if (!std::isfinite(duration.count())) stop("advance needs a finite length of time");
  const Instant target = after(monotonicNow(), duration);
  drive(target, nullptr);
  const MutexLock lock{mutex};
  if (target > now) {
    now = target;
    turnsAtThisMoment = 0;
  }
}

void TurnScheduler::runUntilIdle() {
  mustBeOutside("runUntilIdle");
  drive(monotonicNow(), nullptr);
}

void TurnScheduler::sleep(Seconds duration) {
  if (!(duration > Seconds::zero())) return;
  Carrier* const self = currentCarrier();
  if (!self) return advance(duration);
  {
    const MutexLock lock{mutex};
    if (!isEnding) {
      self->state = Carrier::State::asleep;
      self->wakesAt = after(now, duration);
      pause(*self);
    }
    if (!isEnding) return;
  }
  if (std::uncaught_exceptions() == 0) throw Unwinding{};
}

void TurnScheduler::shutDown() {
  mustBeOutside("shutDown");
  std::vector<std::shared_ptr<Job>> dropped;
  {
    const MutexLock lock{mutex};
    isEnding = true;
    dropped = takeAllJobs();
  }
  dropped.clear();  // Without the lock: what turns hold may post or cancel as it goes.
  drive(monotonicNow(), nullptr);
  dismissCarriers();
}

std::optional<Instant> TurnScheduler::nextDue() const {
  const MutexLock lock{mutex};
  const Instant earliest = earliestMoment();
  if (earliest == kNever) return std::nullopt;
  return earliest;
}

Instant TurnScheduler::monotonicNow() const {
  const MutexLock lock{mutex};
  return now;
}

Date TurnScheduler::wallNow() const {
  const MutexLock lock{mutex};
  const auto passed = std::chrono::floor<Date::duration>(now - wallSetAt);
  return wallSetTo > Date::max() - passed ? Date::max() : wallSetTo + passed;
}

void TurnScheduler::setWallClock(Date date) {
  const MutexLock lock{mutex};
  wallSetAt = now;
  wallSetTo = date;
}

// Zero means nothing here either: the simulated computer was started some days ago.
std::chrono::milliseconds TurnScheduler::continuousTime() const {
  constexpr std::chrono::hours kUpBefore{100};
  const MutexLock lock{mutex};
  return std::chrono::floor<std::chrono::milliseconds>(now.time_since_epoch() + suspendedFor + kUpBefore);
}

void TurnScheduler::suspend(Seconds duration) {
  const MutexLock lock{mutex};
  const auto asleep = saturatingDuration<std::chrono::nanoseconds>(duration);
  if (asleep < std::chrono::nanoseconds::zero()) stopForBrokenPromise("A computer sleeps for some time.");
  suspendedFor += asleep;
  wallSetTo = advanced(wallSetTo, duration);
}

void TurnScheduler::setRunawayLimit(std::uint64_t turns) {
  const MutexLock lock{mutex};
  runawayLimit = turns;
}

std::uint64_t TurnScheduler::turnCount() const {
  const MutexLock lock{mutex};
  return turnsBegun;
}

// ---- The driver's side

void TurnScheduler::mustBeOutside(std::string_view operation) const {
  if (currentCarrier()) stop(std::string(operation) + " is called from inside a turn, where only sleep moves time");
}

void TurnScheduler::drive(Instant until, const Lane* awaited) {
  const std::lock_guard<std::mutex> onlyDriver{driving};
  Baton* next = nullptr;
  {
    const MutexLock lock{mutex};
    horizon = until;
    awaitedLane = awaited;
    next = &nextBaton();
  }
  next->hand();
  driversBaton.await();
  std::exception_ptr thrown;
  {
    const MutexLock lock{mutex};
    awaitedLane = nullptr;
    if (!awaited && !isEnding) std::swap(thrown, failure);
  }
  if (thrown) std::rethrow_exception(thrown);
}

std::vector<std::shared_ptr<TurnScheduler::Job>> TurnScheduler::takeAllJobs() {
  std::vector<std::shared_ptr<Job>> taken;
  for (const auto& lane : lanes) {
    lane->isClosed = true;
    for (auto& [position, job] : lane->jobs) taken.push_back(std::move(job));
    lane->jobs.clear();
  }
  return taken;
}

void TurnScheduler::dismissCarriers() {
  std::vector<std::unique_ptr<Carrier>> dismissed;
  {
    const MutexLock lock{mutex};
    if (idle.size() != carriers.size()) stop("two turns destroy each other's queues");
    dismissed.swap(carriers);
    idle.clear();
    for (const auto& carrier : dismissed) {
      carrier->isDismissed = true;
      carrier->baton.hand();
    }
  }
  for (const auto& carrier : dismissed) carrier->thread.join();
}

// ---- The carriers' side

void TurnScheduler::serve(Carrier& carrier) {
  Carrier::current = &carrier;
  while (true) {
    carrier.baton.await();
    if (carrier.isDismissed) return;
    const std::exception_ptr thrown = runTurn(carrier);
    endTurn(carrier, thrown).hand();
  }
}

std::exception_ptr TurnScheduler::runTurn(Carrier& carrier) {
  const std::shared_ptr<Job> job = std::move(carrier.job);  // What the turn holds ends within the turn, too.
  try {
    job->turn();
  } catch (const Unwinding&) {
  } catch (...) {
    return std::current_exception();
  }
  return nullptr;
}

TurnScheduler::Baton& TurnScheduler::endTurn(Carrier& carrier, std::exception_ptr thrown) {
  const MutexLock lock{mutex};
  if (thrown && !failure) failure = std::move(thrown);
  carrier.lane->running = nullptr;
  carrier.lane = nullptr;
  carrier.state = Carrier::State::idle;
  idle.push_back(&carrier);
  return nextBaton();  // Most often of this same carrier, which is the last idle one.
}

// The carrier's state says what it waits for. Comes back with the baton.
void TurnScheduler::pause(Carrier& carrier) {
  Baton& next = nextBaton();
  mutex.unlock();
  next.hand();
  carrier.baton.await();
  mutex.lock();
  carrier.state = Carrier::State::running;
}

// ---- Whose turn it is

TurnScheduler::Baton& TurnScheduler::nextBaton() {
  const Instant moment = earliestMoment();
  if (isDriversTurn(moment)) return driversBaton;
  if (moment > now) {
    now = moment;
    turnsAtThisMoment = 0;
  }
  Lane& lane = chooseLane(moment);
  if (!lane.running) beginTurn(lane);
  return lane.running->baton;
}

bool TurnScheduler::isDriversTurn(Instant moment) const {
  if (isEnding) return moment == kNever;
  if (awaitedLane && !awaitedLane->running) return true;
  if (awaitedLane && moment == kNever) stop("a queue is destroyed while one of its turns sleeps for ever");
  return moment == kNever || moment > horizon || (failure && !awaitedLane);
}

// When the lane goes on; never in the past.
Instant TurnScheduler::momentOf(const Lane& lane) const {
  const Carrier* const carrier = lane.running;
  if (!carrier) return lane.jobs.empty() ? kNever : std::max(now, lane.jobs.begin()->first.first);
  switch (carrier->state) {
    case Carrier::State::asleep:
      return isEnding ? now : carrier->wakesAt;
    case Carrier::State::waiting:
      return carrier->waitsFor->running ? kNever : now;
    default:
      return kNever;
  }
}

Instant TurnScheduler::earliestMoment() const {
  Instant earliest = kNever;
  for (const auto& lane : lanes) earliest = std::min(earliest, momentOf(*lane));
  return earliest;
}

TurnScheduler::Lane& TurnScheduler::chooseLane(Instant moment) {
  std::vector<Lane*> ready;
  for (const auto& lane : lanes) {
    if (momentOf(*lane) == moment) ready.push_back(lane.get());
  }
  return *ready[ready.size() == 1 ? 0 : generator.below(ready.size())];
}

void TurnScheduler::beginTurn(Lane& lane) {
  ++turnsBegun;
  if (++turnsAtThisMoment > runawayLimit) {
    stop("time stands still: " + std::to_string(runawayLimit) + " turns ran at one moment, the last of them on \"" +
         lane.label + '"');
  }
  Carrier& carrier = idleCarrier();
  carrier.job = std::move(lane.jobs.begin()->second);
  lane.jobs.erase(lane.jobs.begin());
  if (carrier.job->interval) repeat(lane, carrier.job);
  carrier.lane = &lane;
  carrier.state = Carrier::State::running;
  lane.running = &carrier;
}

// The next tick that is still ahead. It waits in the lane already while this one runs, so that the turn can cancel it.
void TurnScheduler::repeat(Lane& lane, const std::shared_ptr<Job>& job) {
  const auto behind = now - job->position.first;
  const auto missed = behind / *job->interval;
  const Instant lastTick = job->position.first + missed * *job->interval;
  job->position = {saturatingSum(lastTick, *job->interval), jobsPut++};
  lane.jobs.emplace(job->position, job);
}

TurnScheduler::Carrier& TurnScheduler::idleCarrier() {
  if (idle.empty()) {
    Carrier& added = *carriers.emplace_back(std::make_unique<Carrier>());
    added.owner = this;
    added.thread = std::thread{[this, &added] { serve(added); }};
    return added;
  }
  Carrier& last = *idle.back();
  idle.pop_back();
  return last;
}

}  // namespace quillard::platform::simulated
