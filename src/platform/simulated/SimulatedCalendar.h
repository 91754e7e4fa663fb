#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/process/Calendar.h"
#include "values/Time.h"

namespace quillard::platform::simulated {

// From `at` on, clocks show UTC plus `offset`.
struct ZoneChange {
  Date at{};
  std::chrono::seconds offset{0};
};

// How clocks differ from UTC. East is positive. UTC itself by default.
struct SimulatedZone {
  std::chrono::seconds offset{0};     // Before the first change.
  std::vector<ZoneChange> changes{};  // By time.
};

// The calendar of a place that the test makes up. Any thread.
//
// `dateByAddingDays` onto a time of day that is skipped gives the first moment after the gap; onto one that is shown
// twice, the one with the offset of the date that it starts from, else the first.
class SimulatedCalendar final : public Calendar {
 public:
  explicit SimulatedCalendar(SimulatedZone zone = {}) : zone(std::move(zone)) {}

  void setZone(SimulatedZone newZone);
  // While set, everything that may be absent is absent.
  void setUnableToCompute(bool unable);

  [[nodiscard]] std::optional<Date> dateByAddingDays(int days, Date date) const override;
  [[nodiscard]] Date startOfDay(Date date) const override;
  [[nodiscard]] std::optional<Date> dateBySettingHour(int hour, Date date) const override;

 private:
  mutable Mutex mutex;
  SimulatedZone zone QUILLARD_GUARDED_BY(mutex);
  bool isUnableToCompute QUILLARD_GUARDED_BY(mutex) = false;
};

}  // namespace quillard::platform::simulated
