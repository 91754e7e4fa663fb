#include "agent/PairingOffer.h"

#include <utility>

namespace quillard {

PairingOffer::PairingOffer(const platform::Clock& clock, platform::SerialExecutor& mainThread,
                           std::function<void()> onDue)
    : clock(clock), mainThread(mainThread), onDue(std::move(onDue)) {}

void PairingOffer::begin(int pairing, Seconds time) {
  offered = pairing;
  endsAt = advanced(clock.now(), time);
  timer = mainThread.postAfter(time, [this] { onDue(); });
}

void PairingOffer::end() {
  offered.reset();
  timer.reset();
}

void PairingOffer::poll() {
  if (offered && clock.now() >= endsAt) onDue();
}

}  // namespace quillard
