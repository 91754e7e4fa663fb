#pragma once

#include <functional>
#include <optional>

#include "platform/process/Clock.h"
#include "platform/process/Executors.h"
#include "values/Time.h"

namespace quillard {

// Which pairing is offered, and until when. States: none -> offered -> none, by `end` alone. Main thread.
class PairingOffer {
 public:
  // Both outlive this. `onDue`: the time is over; not empty, and it ends the offer.
  PairingOffer(const platform::Clock& clock, platform::SerialExecutor& mainThread, std::function<void()> onDue);
  PairingOffer(const PairingOffer&) = delete;
  PairingOffer& operator=(const PairingOffer&) = delete;

  // For so long from now on, in place of an earlier one.
  void begin(int pairing, Seconds time);
  void end();
  // No report comes any more; what is offered stays so.
  void stop() { timer.reset(); }
  // To be called every few seconds: the timer may have stood still while the computer slept.
  void poll();

  // Absent: none is offered.
  [[nodiscard]] std::optional<int> number() const { return offered; }
  [[nodiscard]] bool isOf(int pairing) const { return offered == pairing; }

 private:
  const platform::Clock& clock;
  platform::SerialExecutor& mainThread;
  const std::function<void()> onDue;
  std::optional<int> offered;
  Date endsAt;                 // While one is offered; of the wall clock.
  platform::TaskHandle timer;  // While one is offered.
};

}  // namespace quillard
