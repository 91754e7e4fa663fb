#pragma once

#include <string>

#include "agent/ApprovalAnnouncer.h"
#include "agent/PhonePairings.h"
#include "agent/PhoneRoster.h"

namespace quillard {

// What the user of this computer is told of phones, which nobody may miss: a notification each, the newest of its kind
// in the place of an earlier one. Main thread.
class PhoneNotices {
 public:
  // `announcer` outlives this.
  explicit PhoneNotices(ApprovalAnnouncer& announcer) : announcer(announcer) {}

  // A prompt waits, and no phone was or can be told.
  void nobodyReached() const;
  void firstGrant(const FirstGrant& grant) const;
  // Another phone has joined a pairing that had its phone.
  void unexpectedPhone(const UnexpectedPhone& phone) const;
  // One phone has had the other of this name removed.
  void phoneRemoved(const std::string& name) const;

 private:
  ApprovalAnnouncer& announcer;
};

}  // namespace quillard
