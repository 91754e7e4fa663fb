#pragma once

#include <array>
#include <cstdio>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/simulated/SimulatedWorld.h"
#include "simulation/Faults.h"
#include "values/Time.h"

namespace quillard::simulation {

// Two ways of computing one moment differ by less.
inline constexpr Seconds kSameMoment{1e-6};

// The first invariant that broke; later ones may follow from it.
class Verdict {
 public:
  void fail(const std::string& reason) {
    if (!first) first = reason;
  }
  [[nodiscard]] bool isBroken() const { return first.has_value(); }
  [[nodiscard]] const std::optional<std::string>& reason() const { return first; }

 private:
  std::optional<std::string> first;
};

// What every owner of the world shares: the simulated platform, the time, the trace, the counts and the verdict.
// Used from one thread at a time, like the simulated world itself.
class Stage {
 public:
  using TraceLine = std::function<void(const std::string&)>;

  // `traceLine`: takes each line of the trace; empty: nothing is written.
  Stage(platform::simulated::SimulatedWorld& world, TraceLine traceLine)
      : world(world), start(world.time().monotonicNow()), traceLine(std::move(traceLine)) {}
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  // Since the beginning of the world, sleep of the machine included: the time of everything that is not this machine.
  [[nodiscard]] Seconds now() const { return world.time().monotonicNow() - start + slept; }
  // Of a moment of the machine's monotonic clock since the machine last slept.
  [[nodiscard]] Seconds timeOf(Instant moment) const { return moment - start + slept; }
  void sleepMachine(Seconds duration) {
    sleeps.push_back({now(), duration});
    slept += duration;
  }
  // How long the machine has been awake since then: what its own timers know of that time.
  [[nodiscard]] Seconds awakeSince(Seconds time) const {
    Seconds passed = now() - time;
    for (const auto& [at, duration] : sleeps) {
      if (at >= time) passed -= duration;
    }
    return passed;
  }

  // As something that happens elsewhere, at exactly that time.
  void later(Seconds delay, platform::Turn turn) { world.desktop().later(delay, std::move(turn)); }

  template <class... Parts>
  void trace(std::string_view who, const Parts&... parts) const {
    if (!traceLine) return;
    std::ostringstream text;
    text << timeText() << "  " << who;
    for (std::size_t i = who.size(); i < 8; ++i) text << ' ';
    text << "  ";
    (text << ... << parts);
    traceLine(text.str());
  }

  void happened(Fault fault) {
    counts.add(fault);
    trace("fault", nameOf(fault));
  }

  template <class... Parts>
  void fail(const Parts&... parts) {
    std::ostringstream text;
    text << timeText() << "  ";
    (text << ... << parts);
    trace("BROKEN", text.str());
    verdict.fail(text.str());
  }

  [[nodiscard]] platform::simulated::SimulatedDesktop& desktop() const { return world.desktop(); }

  platform::simulated::SimulatedWorld& world;
  FaultCounts counts;
  Verdict verdict;

 private:
  [[nodiscard]] std::string timeText() const {
    const auto milliseconds = static_cast<long long>(now().count() * 1000 + 0.5);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%lld:%02lld:%02lld.%03lld", milliseconds / 3'600'000,
                  milliseconds / 60'000 % 60, milliseconds / 1000 % 60, milliseconds % 1000);
    return text.data();
  }

  const Instant start;
  Seconds slept{0};
  std::vector<std::pair<Seconds, Seconds>> sleeps;  // When, and how long.
  const TraceLine traceLine;
};

}  // namespace quillard::simulation
