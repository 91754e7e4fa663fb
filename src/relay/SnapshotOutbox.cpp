#include "relay/SnapshotOutbox.h"

#include <utility>

namespace quillard {

void SnapshotOutbox::hold(MacSnapshotRelayMessage snapshot, std::string signature) {
  latestSnapshotSignature = std::move(signature);
  latestSnapshot = std::move(snapshot);
}

void SnapshotOutbox::forgetSent() {
  lastSentSnapshotSignature.reset();
  snapshotSendInFlightSignature.reset();
}

std::optional<SnapshotOutbox::Sending> SnapshotOutbox::begin() {
  if (!latestSnapshot || latestSnapshotSignature == snapshotSendInFlightSignature) return std::nullopt;
  // What was delivered stays delivered only while nothing else is under way: another snapshot would take its place on
  // the phone, and the list that came back in the meantime must follow it.
  if (latestSnapshotSignature == lastSentSnapshotSignature && !snapshotSendInFlightSignature) return std::nullopt;
  snapshotSendInFlightSignature = latestSnapshotSignature;
  return Sending{*latestSnapshotSignature, ++sendings};
}

void SnapshotOutbox::end(const Sending& sending, bool succeeded) {
  // Two sendings of one snapshot may be under way, the older one of them given up: it says nothing about the newer.
  if (sending.number != sendings) return;
  if (snapshotSendInFlightSignature == sending.signature) snapshotSendInFlightSignature.reset();
  if (succeeded && latestSnapshotSignature == sending.signature) lastSentSnapshotSignature = sending.signature;
}

}  // namespace quillard
