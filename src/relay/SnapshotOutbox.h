#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "relay/RelayMessages.h"

namespace quillard {

// The newest snapshot, and its state on the present connection: not sent -> under way -> delivered. Decides what to
// send, so that no phone gets the same snapshot twice in a row. One thread at a time.
//
// The phone ends up with the newest snapshot: only the last delivered signature counts as delivered. A list that was
// delivered before, but is the newest again while another one is under way, is sent again. Otherwise the phone would
// keep the other one.
class SnapshotOutbox {
 public:
  // Whether the newest snapshot has this signature. False when there is none.
  [[nodiscard]] bool holds(std::string_view signature) const { return latestSnapshotSignature == signature; }

  // Takes the place of the newest one. `signature` is equal for snapshots that are the same to a phone.
  void hold(MacSnapshotRelayMessage snapshot, std::string signature);

  // From now on nothing counts as sent: there is a new connection, or the caller forces a repetition.
  void forgetSent();

  // One sending of a snapshot.
  struct Sending {
    std::string signature;
    std::uint64_t number = 0;
  };
  // The newest snapshot, when it is neither delivered nor under way; from now on it is under way.
  [[nodiscard]] std::optional<Sending> begin();
  // The snapshot of the sending that began last.
  [[nodiscard]] const MacSnapshotRelayMessage& snapshot() const { return *latestSnapshot; }
  // Reports of a sending that is not the last one are ignored.
  void end(const Sending& sending, bool succeeded);

 private:
  std::optional<MacSnapshotRelayMessage> latestSnapshot;
  std::optional<std::string> latestSnapshotSignature;
  std::optional<std::string> lastSentSnapshotSignature;
  std::optional<std::string> snapshotSendInFlightSignature;
  std::uint64_t sendings = 0;
};

}  // namespace quillard
