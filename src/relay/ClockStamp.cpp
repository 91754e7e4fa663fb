#include "relay/ClockStamp.h"

namespace quillard {

Json toJson(const ClockStamp& stamp) { return {{"epoch", stamp.epoch.text()}, {"time", stamp.time.count()}}; }

ClockStamp readClockStamp(JsonReader& reader) {
  return {reader.uuid("epoch"), std::chrono::milliseconds{reader.integer("time", 0, kLatestStampTime.count())}};
}

std::optional<ClockStamp> readOptionalClockStamp(JsonReader& reader, std::string_view name) {
  if (!reader.member(name)) return std::nullopt;
  return reader.object(name, readClockStamp);
}

StampClock::StampClock(const platform::Clock& clock, platform::Random& random)
    : clock(clock), epoch(Uuid::fromRandomBytes(random.identityBytes())) {}

ClockStamp StampClock::now() const { return {epoch, clock.continuousTime()}; }

std::optional<std::chrono::milliseconds> StampClock::age(const ClockStamp& stamp) const {
  const auto age = clock.continuousTime() - stamp.time;
  if (stamp.epoch != epoch || age < std::chrono::milliseconds::zero()) return std::nullopt;
  return age;
}

}  // namespace quillard
