#pragma once

#include <chrono>
#include <optional>

#include "foundation/StrictJson.h"
#include "foundation/Uuid.h"
#include "platform/process/Clock.h"
#include "platform/process/Random.h"

namespace quillard {

// A moment on the agent's own clock, as it is sealed into what the agent sends, and comes back sealed in a decision.
//
// Neither the relay's word nor the wall clock of either end says how old a decision is. The agent's clock does: a phone
// that was sent the stamp `time` and taps three seconds after it came knows that the tap was at `time` plus three
// seconds, or later by what the stamp took on its way. So a decision may look older than it is, never younger.
struct ClockStamp {
  Uuid epoch;                      // Of one run of the agent: the clock of another run is another clock.
  std::chrono::milliseconds time;  // Since a moment that means nothing; sleep of the computer counts. Not negative.
  bool operator==(const ClockStamp&) const = default;
};

// The latest time that a stamp can name: the largest whole number that every reader of JSON holds exactly.
inline constexpr std::chrono::milliseconds kLatestStampTime{9'007'199'254'740'991};

[[nodiscard]] Json toJson(const ClockStamp& stamp);

// Reads the members of one stamp; its failures are the reader's.
[[nodiscard]] ClockStamp readClockStamp(JsonReader& reader);
// An optional member of `reader`: absent when missing or null, a failure when it is no stamp.
[[nodiscard]] std::optional<ClockStamp> readOptionalClockStamp(JsonReader& reader, std::string_view name);

// The clock that stamps are taken from and compared with. One for each run of the agent. Any thread.
class StampClock {
 public:
  // `clock` outlives it. `random` is asked once, for the epoch.
  StampClock(const platform::Clock& clock, platform::Random& random);

  [[nodiscard]] ClockStamp now() const;

  // How long ago the stamp was taken. Absent: not on this clock: in another run, or in the future, which no honest
  // stamp names.
  [[nodiscard]] std::optional<std::chrono::milliseconds> age(const ClockStamp& stamp) const;

 private:
  const platform::Clock& clock;
  const Uuid epoch;
};

}  // namespace quillard
