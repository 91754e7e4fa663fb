#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "approvals/NotificationPauseStore.h"
#include "approvals/ScanOutcome.h"
#include "foundation/UserTexts.h"
#include "foundation/Uuid.h"
#include "relay/RelayOrigin.h"
#include "relay/RelayStatus.h"
#include "status/ProgramReadability.h"
#include "system/LoginItemManager.h"
#include "system/UpdateManager.h"
#include "values/Images.h"
#include "values/Time.h"

namespace quillard {

// What a program asks and waits for.
struct WaitingQuestion {
  Uuid id;
  std::string program;
  std::string question;
  std::vector<std::string> lines;
  std::vector<std::string> labels;

  bool operator==(const WaitingQuestion&) const = default;
};

// A kind of prompt that is muted.
struct MutedKind {
  Uuid id;
  std::string program;                 // Empty: not known.
  std::string title;                   // The same.
  std::optional<Seconds> remaining{};  // How long it still is. Absent: until it is undone, or the agent ends.

  bool operator==(const MutedKind&) const = default;
};

// Which relay is used, and who names it.
struct RelayChoice {
  std::string address;                // Without what is secret in it, and harmless to show. Empty: none is named.
  std::optional<RelayOrigin> origin;  // Absent: none is named.
  bool operator==(const RelayChoice&) const = default;
};

// One phone that has ever joined a pairing of this computer.
struct PhoneLine {
  int pairing = 1;       // Phones with the same one share a code, and are unpaired together.
  std::string name;      // Never empty, and harmless to show.
  Seconds sinceSeconds;  // How long ago it joined.
  Seconds heardSeconds;  // How long ago it was connected.
  std::int64_t decisions = 0;
  bool isConnected = false;
  bool isUnexpected = false;  // It joined by a code that another phone had already.
  bool isRefused = false;     // The relay calls its pairing revoked.
  bool isUnreadable = false;  // The secrets of its pairing cannot be read now, so that it is not served.
  bool operator==(const PhoneLine&) const = default;
};

// All that the status window shows, at one moment. Built anew for each refresh, never changed.
struct MacStatusSnapshot {
  UserTexts texts{};  // The words in which it is shown.
  bool installedInApplications = false;
  bool accessibilityTrusted = false;
  LoginItemStatus loginItemStatus;
  bool relayConfigured = false;
  bool pairingRevoked = false;  // So says the relay. No code is shown then: it would lead to a pairing that is refused.
  bool isOtherComputersPairing = false;  // The reason of `pairingRevoked`: the relay knows another computer's key.
  bool relayConnected = false;
  bool phoneConnected = false;
  std::int64_t phoneCount = 0;
  std::vector<RelayPhoneStatus> connectedPhones;
  NotificationPauseSnapshot notificationPause;
  std::int64_t pendingApprovalCount = 0;
  std::size_t wakeablePhones = 0;          // Which alerts reach while their page is closed.
  bool isNobodyReached = false;            // A prompt waits, and no phone was or can be told.
  ScanProblem scanProblem;                 // Of the newest scan: what it could not read.
  std::optional<LazyBitmap> pairingImage;  // Absent: no code may be shown, or there is none.
  // Of a new pairing, for one more phone, while that is offered. Shown instead of the other.
  std::optional<LazyBitmap> offeredPairingImage;
  // Where phones get the page that the code is scanned with, and that address as a code for any camera. The latter is
  // absent where a phone could not open it.
  std::optional<std::string> pageAddress{};
  std::optional<LazyBitmap> pageImage{};
  bool isPairingCodeUsed = false;  // A phone has paired with `pairingImage`, which is then covered.
  bool isPairingOffered = false;
  bool canPairAnother = false;
  std::vector<PhoneLine> phones;  // In the order in which they joined.
  std::string pairingCaption;
  UpdateAvailabilitySnapshot updateAvailability;
  std::vector<WaitingQuestion> questions{};  // Oldest first.
  ProgramReadability programs{};
  std::vector<MutedKind> muted{};      // Newest first.
  std::optional<RelayChoice> relay{};  // Absent: nothing is said of it.

  [[nodiscard]] bool isPhonePresent() const { return phoneConnected || phoneCount > 0 || !connectedPhones.empty(); }
  bool operator==(const MacStatusSnapshot&) const = default;
};

}  // namespace quillard
