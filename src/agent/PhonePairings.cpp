#include "agent/PhonePairings.h"

#include <algorithm>
#include <utility>

#include "click/semantics/DialogButtonSemantics.h"
#include "relay/PairingPayload.h"

namespace quillard {
namespace {

constexpr int kFirst = PairingConfiguration::kFirst;

}  // namespace

struct PhonePairings::Further {
  int number;
  PairingConfiguration configuration;
  PairingCode code{configuration};
  std::unique_ptr<RelaySession> session;
  std::string pairingID;  // Empty: not known yet.
  bool isEnding = false;
  bool isOfEarlierRun = false;
  bool isUnreadable = false;  // Its secrets could not be read.
  bool wasPaired = false;     // In an earlier run.

  Further(int number, const PairingDependencies& dependencies) : number(number), configuration(dependencies, number) {}
};

PhonePairings::PhonePairings(const PhonePairingsDependencies& dependencies, PhonePairingsCallbacks callbacks)
    : dependencies(dependencies),
      callbacks(std::move(callbacks)),
      roster(dependencies.pairing.userDefaults, dependencies.session.clock),
      revoker({dependencies.pairing.userDefaults, dependencies.session.executors, dependencies.session.webSockets,
               dependencies.session.clock, dependencies.session.random, dependencies.session.console,
               dependencies.session.stampClock}),
      first(std::make_unique<RelaySession>(dependencies.session, sessionCallbacks(kFirst))),
      furtherList(dependencies.pairing.userDefaults, kMost),
      offered(dependencies.session.clock, dependencies.session.executors.mainThread(), [this] { withdrawOffer(); }) {}

PhonePairings::~PhonePairings() = default;

// ---- All of them

void PhonePairings::startRelayIfConfigured() {
  roster.reload();
  giveUpWhatEarlierRunEnded();
  removeWhatEarlierRunsLeft();
  first->startRelayIfConfigured();
  readFirstIdentity();
  startFurther();
  revoker.start();
}

// One that is being taken back ends here; the relay that knew it is told by the revoker.
void PhonePairings::relayWasChosen() {
  withdrawOffer();
  first->relayWasChosen();
  readFirstIdentity();
  for (const auto& one : furtherOnes) {
    one->code.forget();
    one->session->relayWasChosen();
  }
  startFurther();
}

// Of further ones: secrets that a locked keyring did not delete, and, where there is no relay, a pairing that is being
// taken back. With a relay, that ends as in the run before.
void PhonePairings::removeWhatEarlierRunsLeft() {
  const bool hasRelay = dependencies.session.pairingConfiguration.isRelayConfigured();
  const auto stored = furtherList.all();
  for (int number = kFirst + 1; number <= kMost; ++number) {
    const auto isNumber = [number](const StoredPairing& one) { return one.number == number; };
    const auto found = std::find_if(stored.begin(), stored.end(), isNumber);
    PairingConfiguration left{dependencies.pairing, number};
    if (found == stored.end()) {
      left.removeVoidSecrets();
    } else if (!hasRelay && found->mark == StoredPairing::kEnding) {
      if (const auto secrets = left.storedSecrets()) roster.forget(secrets->pairingID);
      left.rotateInstallationIdentity();
      furtherList.remove(number);
    }
  }
}

// Of further ones their list says so.
void PhonePairings::giveUpWhatEarlierRunEnded() {
  if (revoker.isIdle()) return;
  auto& configuration = dependencies.session.pairingConfiguration;
  const auto secrets = configuration.storedSecrets();
  if (!secrets || !revoker.isKept(secrets->pairingID)) return;
  roster.forget(secrets->pairingID);
  configuration.rotateInstallationIdentity();
}

// It was read, or made, when its session started.
void PhonePairings::readFirstIdentity() {
  auto& configuration = dependencies.session.pairingConfiguration;
  const auto secrets = configuration.isRelayConfigured() ? configuration.storedSecrets() : std::nullopt;
  firstPairingID = secrets ? secrets->pairingID : std::string();
}

void PhonePairings::startFurther() {
  if (!dependencies.session.pairingConfiguration.isRelayConfigured()) return;
  // All of them first: what is written down from then on names every one of them.
  std::vector<int> addedNumbers;
  for (const auto& stored : furtherList.all()) {
    if (further(stored.number)) continue;
    auto& added = addFurther(stored.number);
    added.isOfEarlierRun = true;
    added.isEnding = !stored.mark.empty();
    added.wasPaired = stored.mark != StoredPairing::kOffered;
    const auto secrets = added.configuration.storedSecrets();
    added.pairingID = secrets ? secrets->pairingID : stored.pairingID;
    added.isUnreadable = !secrets;
    addedNumbers.push_back(stored.number);
  }
  for (const int number : addedNumbers) startOrEnd(*further(number));
}

void PhonePairings::startOrEnd(Further& added) {
  if (added.isEnding) return end(added);
  // What cannot be read now is not made anew: the next run looks again.
  if (!added.isUnreadable) added.session->startRelayIfConfigured();
}

void PhonePairings::publishCurrentApprovalSnapshot(bool force) {
  first->publishCurrentApprovalSnapshot(force);
  for (const auto& one : furtherOnes) one->session->publishCurrentApprovalSnapshot(force);
}

void PhonePairings::askAgainIfDue() {
  first->askAgainIfDue();
  for (const auto& one : furtherOnes) one->session->askAgainIfDue();
  offered.poll();
  roster.noteTime();
}

void PhonePairings::stop() {
  isStopped = true;
  offered.stop();
  for (const auto& one : furtherOnes) one->session->beginToStop();
  first->stop();
  for (const auto& one : furtherOnes) one->session->stop();
  revoker.stop();
}

bool PhonePairings::publishPush(const PushPlan& plan, const PushContents& contents) {
  auto* const woken = session(plan.phone.pairing);
  return woken && woken->publishPush(plan, contents);
}

void PhonePairings::publishClock(int pairing) {
  auto* const told = session(pairing);
  if (told && told->status().phoneCount > 0) told->publishClock();
}

void PhonePairings::publishResult(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result) {
  if (auto* decided = session(decision.pairing)) decided->publishResult(decision.decisionID, result);
}

void PhonePairings::publishOutcome(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result) {
  const bool isGrant = result.status == kAcceptedStatus && !DialogButtonSemantics::isSafeDismissal(result.buttonLabel);
  if (const auto phone = roster.noteDecision(pairingIDOf(decision.pairing), isGrant, arrivals.presentAt(decision))) {
    callbacks.onFirstGrant(*phone);
  }
  auto told = result;
  told.decidedBy = roster.deciderName(pairingIDOf(decision.pairing), arrivals.presentAt(decision));
  if (decision.pairing != kFirst) first->publishResult(decision.decisionID, told);
  for (const auto& one : furtherOnes) {
    if (decision.pairing != one->number) one->session->publishResult(decision.decisionID, told);
  }
}

std::vector<std::string> PhonePairings::decidersOf(const ApprovalRequestEnvelope& decision) const {
  const auto present = arrivals.presentAt(decision);
  std::vector<std::string> names;
  for (const auto& phone : roster.phonesOf(pairingIDOf(decision.pairing))) {
    if (std::find(present.begin(), present.end(), phone.deviceID) != present.end()) names.push_back(phone.name);
  }
  return names;
}

bool PhonePairings::isAnyUsable() const {
  return !first->isPairingRevoked() || std::any_of(furtherOnes.begin(), furtherOnes.end(), [&](const auto& one) {
    return !one->isEnding && !offered.isOf(one->number) && !one->session->isPairingRevoked();
  });
}

RelayConnectionStatus PhonePairings::status() const {
  auto all = first->status();
  for (const auto& one : furtherOnes) {
    const auto& status = one->session->status();
    all.relayConnected = all.relayConnected || status.relayConnected;
    all.phoneConnected = all.phoneConnected || status.phoneConnected;
    all.phoneCount += status.phoneCount;
    all.phones.insert(all.phones.end(), status.phones.begin(), status.phones.end());
  }
  return all;
}

// ---- Sessions

RelaySessionCallbacks PhonePairings::sessionCallbacks(int pairing) {
  return {
      .snapshotProvider = callbacks.snapshotProvider,
      .onApprovalRequest =
          [this, pairing](const ApprovalRequestEnvelope& envelope) {
            auto numbered = envelope;
            numbered.pairing = pairing;
            arrivals.note(numbered, roster.connectedPhones(pairingIDOf(pairing)));
            callbacks.onApprovalRequest(numbered);
          },
      .onSuppressionCommand =
          [this, pairing](const ApprovalSuppressionCommand& command) {
            auto numbered = command;
            numbered.pairing = pairing;
            callbacks.onSuppressionCommand(numbered);
          },
      .onStatusChange = [this, pairing] { sessionStatusChanged(pairing); },
      .onPairingForgotten = [this, pairing] { pairingForgotten(pairing); },
      .onPairingRenewed =
          [this] {
            readFirstIdentity();
            callbacks.onPairingRenewed();
          },
      // In a turn of its own: the session that reports it is about to go.
      .onPairingEnded =
          [this, pairing] {
            dependencies.session.executors.mainThread().post(scope.bind([this, pairing] { furtherEnded(pairing); }));
          },
      .onPairingEnding = [this, pairing](const auto& revocation) { pairingEnding(pairing, revocation); },
      .meetingReports =
          [this, pairing] {
            auto reports = callbacks.meetingReports(pairing);
            reports.newPhones = newPhones();
            return reports;
          },
      .onPushSubscriptions = [this, pairing](const auto& all) { callbacks.onPushSubscriptions(pairing, all); },
      .onPushResult = [this, pairing](const auto& result) { callbacks.onPushResult(pairing, result); }};
}

PhonePairings::Further& PhonePairings::addFurther(int pairing) {
  auto added = std::make_unique<Further>(pairing, dependencies.pairing);
  added->session = std::make_unique<RelaySession>(
      RelaySessionDependencies{added->configuration, dependencies.session.executors, dependencies.session.httpSessions,
                               dependencies.session.webSockets, dependencies.session.clock, dependencies.session.random,
                               dependencies.session.console, dependencies.session.stampClock},
      sessionCallbacks(pairing));
  const auto place =
      std::find_if(furtherOnes.begin(), furtherOnes.end(), [&](const auto& one) { return one->number > pairing; });
  return **furtherOnes.insert(place, std::move(added));
}

PhonePairings::Further* PhonePairings::further(int pairing) const {
  const auto found =
      std::find_if(furtherOnes.begin(), furtherOnes.end(), [&](const auto& one) { return one->number == pairing; });
  return found == furtherOnes.end() ? nullptr : found->get();
}

RelaySession* PhonePairings::session(int pairing) const {
  if (pairing == kFirst) return first.get();
  const auto* found = further(pairing);
  return found ? found->session.get() : nullptr;
}

std::string PhonePairings::pairingIDOf(int pairing) const {
  if (pairing == kFirst) return firstPairingID;
  const auto* found = further(pairing);
  return found ? found->pairingID : std::string();
}

void PhonePairings::sessionStatusChanged(int pairing) {
  if (isStopped) return;
  const auto pairingID = pairingIDOf(pairing);
  if (!pairingID.empty()) noticeArrivals(pairing, pairingID);
  if (const auto* changed = session(pairing)) callbacks.onPhonesChange(pairing, changed->status());
  callbacks.onStatusChange();
}

void PhonePairings::noticeArrivals(int pairing, const std::string& pairingID) {
  auto earlier = roster.phonesOf(pairingID);
  for (auto& arrived : roster.note(pairingID, session(pairing)->status())) {
    if (!earlier.empty()) {
      tellOthersOfNewPhones(pairing);
      callbacks.onUnexpectedPhone({.pairing = pairing, .name = arrived.name, .earlierName = earlier.front().name});
    }
    earlier.push_back(std::move(arrived));
  }
  if (earlier.empty() || !offered.isOf(pairing)) return;
  offered.end();
  save();
}

// ---- Taking back

void PhonePairings::unpairAll() {
  for (int number = kFirst + 1; number <= kMost; ++number) unpair(number);
  unpair(kFirst);
}

void PhonePairings::unpair(int pairing) {
  if (isStopped) return;
  if (pairing == kFirst) return first->unpairPhoneFromStatusWindow();
  auto* ending = further(pairing);
  if (!ending || std::exchange(ending->isEnding, true)) return;
  if (offered.isOf(pairing)) offered.end();
  end(*ending);
}

void PhonePairings::end(Further& ending) {
  save();
  ending.session->endPairing();
}

void PhonePairings::pairingEnding(int pairing, const std::optional<UnsentRevocation>& revocation) {
  const auto* ending = further(pairing);
  const bool hasPhones = !roster.phonesOf(pairingIDOf(pairing)).empty();
  // The list of phones may be lost, or younger than the pairing.
  const bool wasPaired = ending ? ending->wasPaired : !dependencies.session.pairingConfiguration.isIdentityOfThisRun();
  // Nobody can have joined a pairing that no relay was ever told of.
  const bool isKnown =
      hasPhones || wasPaired || session(pairing)->wasRegistered() || (ending && ending->isOfEarlierRun);
  if (revocation && isKnown) {
    auto kept = *revocation;
    kept.isOffer = !hasPhones && !wasPaired;
    revoker.keep(kept);
  }
  callbacks.onPairingEnding(pairing);
}

void PhonePairings::pairingForgotten(int pairing) {
  revoker.startSoon();
  const bool hadNewPhones = !newPhones().empty();
  roster.forget(pairingIDOf(pairing));
  if (pairing == kFirst) firstPairingID.clear();
  if (hadNewPhones) tellOthersOfNewPhones(pairing);
  if (auto* ending = further(pairing)) ending->code.forget();
  callbacks.onPairingForgotten(pairing);
}

void PhonePairings::furtherEnded(int pairing) {
  std::erase_if(furtherOnes, [&](const auto& one) { return one->number == pairing; });
  save();
  if (!isStopped) callbacks.onStatusChange();
}

void PhonePairings::save() {
  std::vector<StoredPairing> pairings;
  for (const auto& one : furtherOnes) {
    const auto mark = one->isEnding ? StoredPairing::kEnding : offered.isOf(one->number) ? StoredPairing::kOffered : "";
    pairings.push_back({.number = one->number, .mark = std::string(mark), .pairingID = one->pairingID});
  }
  furtherList.store(pairings);
}

// ---- The code for one more phone

std::optional<int> PhonePairings::freeNumber() const {
  for (int number = kFirst + 1; number <= kMost; ++number) {
    if (!further(number)) return number;
  }
  return std::nullopt;
}

bool PhonePairings::canOffer() const {
  return !isStopped && !isOffering() && freeNumber() && dependencies.session.pairingConfiguration.isRelayConfigured();
}

void PhonePairings::offer() {
  if (!canOffer()) return;
  auto& added = addFurther(*freeNumber());
  // Whatever is still stored under that number has been another pairing.
  added.configuration.rotateInstallationIdentity();
  const auto configuration = added.configuration.launchConfiguration();
  if (configuration) added.pairingID = configuration->pairingID;
  offered.begin(added.number, kOfferTime);
  save();
  added.session->startRelayIfConfigured();
  callbacks.onStatusChange();
}

void PhonePairings::withdrawOffer() {
  if (const auto number = offered.number()) unpair(*number);
}

std::optional<LazyBitmap> PhonePairings::offeredImage() {
  auto* const shown = offered.number() ? further(*offered.number()) : nullptr;
  return shown ? shown->code.image() : std::nullopt;
}

std::optional<Secret> PhonePairings::offeredText() {
  auto* const shown = offered.number() ? further(*offered.number()) : nullptr;
  const auto payload = shown && shown->code.isAvailable() ? shown->configuration.payload() : std::nullopt;
  return payload ? pairingPayloadText(*payload) : std::nullopt;
}

// ---- The list

std::vector<int> PhonePairings::pairings() const {
  std::vector<int> numbers;
  if (dependencies.session.pairingConfiguration.isRelayConfigured()) numbers.push_back(kFirst);
  for (const auto& one : furtherOnes) numbers.push_back(one->number);
  return numbers;
}

std::vector<PairedPhone> PhonePairings::phones() const {
  std::vector<PairedPhone> list;
  for (const auto& phone : roster.phones()) {
    const auto isOf = [&](int pairing) { return pairingIDOf(pairing) == phone.pairingID; };
    int number = kFirst;
    while (number <= kMost && !isOf(number)) ++number;
    if (number > kMost) continue;
    const bool hasEarlier =
        std::any_of(list.begin(), list.end(), [&](const PairedPhone& one) { return one.pairing == number; });
    list.push_back({.pairing = number,
                    .phone = phone,
                    .isUnexpected = hasEarlier,
                    .isRefused = session(number) && session(number)->isPairingRevoked(),
                    .isUnreadable = further(number) && further(number)->isUnreadable});
  }
  return list;
}

std::vector<NewPhone> PhonePairings::newPhones() const {
  return newPhonesOf(phones(), dependencies.session.clock.now(), kNewPhoneTime);
}

std::optional<std::string> PhonePairings::removeNewPhone(const Uuid& id) {
  const auto news = newPhones();
  const auto found = std::find_if(news.begin(), news.end(), [&](const NewPhone& one) { return one.id == id; });
  const auto pairing = pairingOfNewPhone(phones(), id);
  if (found == news.end() || !pairing) return std::nullopt;
  // In a turn of its own: the session that asks for it may be the one that ends.
  dependencies.session.executors.mainThread().post(scope.bind([this, ended = *pairing] { unpair(ended); }));
  return found->name;
}

// Of the pairing itself its phones are told as they come.
void PhonePairings::tellOthersOfNewPhones(int pairing) {
  if (pairing != kFirst) first->publishClock();
  for (const auto& one : furtherOnes) {
    if (one->number != pairing) one->session->publishClock();
  }
}

bool PhonePairings::isFirstPaired() const {
  const auto& all = roster.phones();
  return !firstPairingID.empty() && std::any_of(all.begin(), all.end(), [&](const KnownPhone& phone) {
    return phone.pairingID == firstPairingID;
  });
}

}  // namespace quillard
