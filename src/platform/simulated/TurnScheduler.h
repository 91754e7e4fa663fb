#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/process/Executors.h"
#include "platform/simulated/SeededGenerator.h"
#include "values/Time.h"

namespace quillard::platform::simulated {

// The machinery beneath VirtualTime. Turns run on threads of their own, the carriers, so that one can stop half-way
// while others go on. But there is one baton: exactly one thread runs at any moment, either a carrier or the driver
// (the thread that drives from outside). Whoever stops, because its turn is over or asleep, passes the baton to whoever
// is next in virtual time, and to the driver when nothing is due any more.
//
// All operations from any thread, unless they say otherwise.
class TurnScheduler {
 public:
  struct Lane;
  struct Job;

  explicit TurnScheduler(Seed seed);
  // After `shutDown`.
  ~TurnScheduler();
  TurnScheduler(const TurnScheduler&) = delete;
  TurnScheduler& operator=(const TurnScheduler&) = delete;

  // ---- Lanes: what executors are made of.
  [[nodiscard]] std::shared_ptr<Lane> openLane(std::string_view label);
  // Drops the turns that have not begun and waits for the one that has.
  void closeLane(const std::shared_ptr<Lane>& lane);
  // `interval`: for repeating turns. What is put into a closed lane is dropped.
  std::shared_ptr<Job> put(Lane& lane, Seconds delay, std::optional<Seconds> interval, Turn turn);
  void cancel(Lane& lane, const std::shared_ptr<Job>& job);
  [[nodiscard]] bool isCurrent(const Lane& lane) const;

  // ---- Time.
  void advance(Seconds duration);
  void runUntilIdle();
  void sleep(Seconds duration);
  void shutDown();
  [[nodiscard]] std::optional<Instant> nextDue() const;
  [[nodiscard]] Instant monotonicNow() const;
  [[nodiscard]] Date wallNow() const;
  void setWallClock(Date date);
  [[nodiscard]] std::chrono::milliseconds continuousTime() const;
  void suspend(Seconds duration);
  void setRunawayLimit(std::uint64_t turns);
  [[nodiscard]] std::uint64_t turnCount() const;

 private:
  struct Carrier;
  struct Unwinding {};  // Thrown out of `sleep` when the world ends.

  // Each thread has one, and goes on when it is handed on to it: the newest thing that its holder did is seen then. It
  // is handed on without `mutex`, since a thread that is woken beneath its waker's lock only falls asleep once more.
  class Baton {
   public:
    void hand();
    void await();

   private:
    std::mutex mutex;
    std::condition_variable arrived;
    bool isHere = false;
  };

  [[nodiscard]] Carrier* currentCarrier() const;

  // The driver's side. `awaited`: comes back as soon as this lane has no turn that has begun. Otherwise throws what a
  // turn threw.
  void drive(Instant until, const Lane* awaited);
  void mustBeOutside(std::string_view operation) const;
  [[nodiscard]] std::vector<std::shared_ptr<Job>> takeAllJobs() QUILLARD_REQUIRES(mutex);
  void dismissCarriers();

  // The carriers' side.
  void serve(Carrier& carrier);
  [[nodiscard]] std::exception_ptr runTurn(Carrier& carrier);
  void pause(Carrier& carrier) QUILLARD_REQUIRES(mutex);
  [[nodiscard]] Baton& endTurn(Carrier& carrier, std::exception_ptr thrown);

  // Whose turn it is.
  [[nodiscard]] Baton& nextBaton() QUILLARD_REQUIRES(mutex);
  [[nodiscard]] bool isDriversTurn(Instant moment) const QUILLARD_REQUIRES(mutex);
  [[nodiscard]] Instant momentOf(const Lane& lane) const QUILLARD_REQUIRES(mutex);
  [[nodiscard]] Instant earliestMoment() const QUILLARD_REQUIRES(mutex);
  [[nodiscard]] Lane& chooseLane(Instant moment) QUILLARD_REQUIRES(mutex);
  void beginTurn(Lane& lane) QUILLARD_REQUIRES(mutex);
  void repeat(Lane& lane, const std::shared_ptr<Job>& job) QUILLARD_REQUIRES(mutex);
  [[nodiscard]] Carrier& idleCarrier() QUILLARD_REQUIRES(mutex);

  std::mutex driving;  // Held by the one who drives. Before `mutex`.
  mutable Mutex mutex;
  Baton driversBaton;
  SeededGenerator generator QUILLARD_GUARDED_BY(mutex);
  std::vector<std::shared_ptr<Lane>> lanes QUILLARD_GUARDED_BY(mutex);  // Oldest first.
  std::vector<std::unique_ptr<Carrier>> carriers QUILLARD_GUARDED_BY(mutex);
  std::vector<Carrier*> idle QUILLARD_GUARDED_BY(mutex);
  std::uint64_t jobsPut QUILLARD_GUARDED_BY(mutex) = 0;

  Instant now QUILLARD_GUARDED_BY(mutex){std::chrono::hours{1}};
  Instant wallSetAt QUILLARD_GUARDED_BY(mutex){std::chrono::hours{1}};
  Date wallSetTo QUILLARD_GUARDED_BY(mutex){std::chrono::sys_days{std::chrono::January / 15 / 2026} +
                                            std::chrono::hours{9}};

  std::chrono::nanoseconds suspendedFor QUILLARD_GUARDED_BY(mutex){};  // Altogether.

  Instant horizon QUILLARD_GUARDED_BY(mutex){};
  const Lane* awaitedLane QUILLARD_GUARDED_BY(mutex) = nullptr;
  bool isEnding QUILLARD_GUARDED_BY(mutex) = false;
  std::exception_ptr failure QUILLARD_GUARDED_BY(mutex);  // What a turn threw and no driver has heard of yet.
  std::uint64_t turnsBegun QUILLARD_GUARDED_BY(mutex) = 0;
  std::uint64_t turnsAtThisMoment QUILLARD_GUARDED_BY(mutex) = 0;
  std::uint64_t runawayLimit QUILLARD_GUARDED_BY(mutex) = 10'000'000;
};

}  // namespace quillard::platform::simulated
