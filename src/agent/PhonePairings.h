#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/DecisionArrivals.h"
#include "agent/PairedPhones.h"
#include "agent/PairingCode.h"
#include "agent/PairingOffer.h"
#include "agent/PairingRevoker.h"
#include "agent/PhoneRoster.h"
#include "agent/RelaySession.h"
#include "agent/StoredPairings.h"
#include "foundation/CallbackScope.h"
#include "foundation/Uuid.h"
#include "platform/storage/UserDefaults.h"
#include "relay/PairingConfiguration.h"
#include "relay/RelayCommands.h"
#include "relay/RelayStatus.h"
#include "values/Images.h"
#include "values/Secret.h"
#include "values/Time.h"

namespace quillard {

// What the pairings are made over. All of it outlives them.
struct PhonePairingsDependencies {
  PairingDependencies pairing;
  RelaySessionDependencies session;  // Its `pairingConfiguration` is the first identity.
};

// A phone that joined a pairing which had another one already: somebody else has the code.
struct UnexpectedPhone {
  int pairing = PairingConfiguration::kFirst;
  std::string name;
  std::string earlierName;
};

// What the pairings ask and report, on the main thread, none of it after `stop`. None may be empty.
struct PhonePairingsCallbacks {
  std::function<ApprovalSnapshot()> snapshotProvider;
  std::function<void(const ApprovalRequestEnvelope&)> onApprovalRequest;  // Says by which pairing it came.
  std::function<void(const ApprovalSuppressionCommand&)> onSuppressionCommand;
  std::function<void()> onStatusChange;  // Also of the list of phones, or of the code that is shown.
  // See RelaySessionCallbacks; of the pairing of this number. Its phones have no say any more.
  std::function<void(int pairing)> onPairingEnding;
  std::function<void(int pairing)> onPairingForgotten;
  std::function<void()> onPairingRenewed;
  // A phone has granted something for the first time, within an hour after it joined.
  std::function<void(const FirstGrant&)> onFirstGrant = [](const FirstGrant&) {};
  std::function<void(const UnexpectedPhone&)> onUnexpectedPhone = [](const UnexpectedPhone&) {};
  // See RelaySessionCallbacks; for the phones of that pairing.
  std::function<MeetingReports(int pairing)> meetingReports = [](int) { return MeetingReports{}; };
  // What the relay says of the phones of one pairing.
  std::function<void(int pairing, const RelayConnectionStatus&)> onPhonesChange = [](int, const auto&) {};
  std::function<void(int pairing, const std::vector<PhoneSubscription>&)> onPushSubscriptions = [](int, const auto&) {};
  std::function<void(int pairing, const PushResultRelayMessage&)> onPushResult = [](int, const auto&) {};
};

// The pairings of this computer, up to `kMost`: each has an identity, a secret, a code and a session at the relay of
// its own, and is meant for one phone, so that one can be taken back without the others.
//
// The first is that of the installation: it is always there, and taking it back replaces it. An installation that was
// made before there were more has all its phones there. Further ones are absent -> offered -> paired -> absent. One is
// offered at a time, for `kOfferTime`, and paired as soon as a phone has joined it; an offer that an earlier run left
// is taken back at the start. What is taken back has no say from that call on, and never returns, whatever fails: that
// it is to be revoked is written down before anything else, and a run that ends before the identity is given up leaves
// that to the next one. See RelaySession and PairingRevoker.
//
// All are shown the same. A decision is answered on the pairing by which it came, and what became of it is told on the
// others. With the first alone everything is as with one RelaySession.
//
// Main thread.
class PhonePairings {
 public:
  static constexpr int kMost = 8;
  static constexpr Seconds kOfferTime{600};
  static constexpr Seconds kNewPhoneTime{86400};

  PhonePairings(const PhonePairingsDependencies& dependencies, PhonePairingsCallbacks callbacks);
  // As `stop`, but open connections are dropped without a close message.
  ~PhonePairings();
  PhonePairings(const PhonePairings&) = delete;
  PhonePairings& operator=(const PhonePairings&) = delete;

  // ---- As RelaySession, for all of them.
  void startRelayIfConfigured();
  void relayWasChosen();
  void publishCurrentApprovalSnapshot(bool force);
  void askAgainIfDue();
  void stop();

  // Wakes a phone; see RelaySession.
  [[nodiscard]] bool publishPush(const PushPlan& plan, const PushContents& contents);
  // Tells the phones of this pairing that are connected the time and what they may have missed.
  void publishClock(int pairing);

  // To the phone that decided.
  void publishResult(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result);
  // What became of a decision: to the phones of the other pairings, and for the list of phones.
  void publishOutcome(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result);
  // The names of the phones that may have made it: those of its pairing that were connected when it came.
  [[nodiscard]] std::vector<std::string> decidersOf(const ApprovalRequestEnvelope& decision) const;

  // Of all together: connected if one is, and the phones of all.
  [[nodiscard]] RelayConnectionStatus status() const;
  // The first pairing; only its code is shown without being asked for.
  [[nodiscard]] bool isPairingRevoked() const { return first->isPairingRevoked(); }
  [[nodiscard]] bool isOtherComputers() const { return first->isOtherComputers(); }
  // Whether a phone may be reached by one of them: not while the relay calls all of them revoked.
  [[nodiscard]] bool isAnyUsable() const;

  // ---- Taking back.
  // All of them. The first takes a new identity.
  void unpairAll();
  // One, with all phones that share it. Nothing happens when there is none of that number.
  void unpair(int pairing);

  // ---- The code for one more phone.
  // Whether one more can be offered: a relay is configured and there is room.
  [[nodiscard]] bool canOffer() const;
  // Offers a new pairing, for which the code is shown. Nothing happens while one is offered, or none can be.
  void offer();
  // Takes the offer back.
  void withdrawOffer();
  [[nodiscard]] bool isOffering() const { return offered.number().has_value(); }
  // The code of the offer. Absent: none is offered, or it fits no code.
  [[nodiscard]] std::optional<LazyBitmap> offeredImage();

  // ---- The list.
  [[nodiscard]] std::vector<PairedPhone> phones() const;
  // The numbers of all that a phone may have joined, also one that is not in the list: the first one where there is a
  // relay, and further ones.
  [[nodiscard]] std::vector<int> pairings() const;
  // Whether a phone has ever joined the first pairing: its code is for one phone.
  [[nodiscard]] bool isFirstPaired() const;
  // Phones that have joined within `kNewPhoneTime` a pairing which had its phone; all phones are told of them.
  [[nodiscard]] std::vector<NewPhone> newPhones() const;
  // A phone wants one of those removed: its pairing is taken back in a later turn, with all phones that share it, since
  // all of them have its secret. Returns its name; absent: there is none such.
  std::optional<std::string> removeNewPhone(const Uuid& id);
  // What the code that is offered holds. Absent: none is offered, or it fits no code.
  [[nodiscard]] std::optional<Secret> offeredText();

 private:
  struct Further;

  [[nodiscard]] RelaySessionCallbacks sessionCallbacks(int pairing);
  Further& addFurther(int pairing);
  [[nodiscard]] Further* further(int pairing) const;
  [[nodiscard]] RelaySession* session(int pairing) const;
  [[nodiscard]] std::string pairingIDOf(int pairing) const;
  [[nodiscard]] std::optional<int> freeNumber() const;
  void giveUpWhatEarlierRunEnded();
  void removeWhatEarlierRunsLeft();
  void readFirstIdentity();
  void startFurther();
  void startOrEnd(Further& added);
  void end(Further& ending);
  void sessionStatusChanged(int pairing);
  void noticeArrivals(int pairing, const std::string& pairingID);
  void pairingEnding(int pairing, const std::optional<UnsentRevocation>& revocation);
  void pairingForgotten(int pairing);
  void furtherEnded(int pairing);
  void save();
  void tellOthersOfNewPhones(int pairing);

  const PhonePairingsDependencies dependencies;
  const PhonePairingsCallbacks callbacks;
  PhoneRoster roster;
  PairingRevoker revoker;
  bool isStopped = false;
  std::unique_ptr<RelaySession> first;
  std::string firstPairingID;                         // Empty: there is no relay, or it cannot be read.
  std::vector<std::unique_ptr<Further>> furtherOnes;  // In the order of their numbers.
  StoredPairings furtherList;
  DecisionArrivals arrivals;
  PairingOffer offered;
  CallbackScope scope;  // Last.
};

}  // namespace quillard
