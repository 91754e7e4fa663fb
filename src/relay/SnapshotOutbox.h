#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "relay/RelayMessages.h"

namespace quillard {

// The newest snapshot, and how far it has got on the present connection: not sent -> under way -> delivered. Decides
// what is to be sent, so that no phone is told the same thing twice. One thread at a time.
class SnapshotOutbox {
 public:
  // Whether the newest snapshot has this signature. False when there is none.
  [[nodiscard]] bool holds(std::string_view signature) const { return latestSnapshotSignature == signature; }

  // Takes the place of the newest one. Its `snapshotID` is its signature.
  void hold(MacSnapshotRelayMessage snapshot);

  // From now on nothing counts as sent: the connection is another one, or the phone asks anew.
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
  // News of an older sending than the last change nothing.
  void end(const Sending& sending, bool succeeded);

 private:
  std::optional<MacSnapshotRelayMessage> latestSnapshot;
  std::optional<std::string> latestSnapshotSignature;
  std::optional<std::string> lastSentSnapshotSignature;
  std::optional<std::string> snapshotSendInFlightSignature;
  std::uint64_t sendings = 0;
};

}  // namespace quillard
