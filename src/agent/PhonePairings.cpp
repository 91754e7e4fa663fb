#include "agent/PhonePairings.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "click/semantics/DialogButtonSemantics.h"
#include "relay/PairingPayload.h"
#include "relay/RelayCrypto.h"

namespace quillard {
namespace {

// The numbers of those that are paired; with "?" behind it, of one that was offered; with "!", of one that is being
// taken back.
constexpr std::string_view kFurtherKey = "quillard.further-pairings";
// The same numbers, each with its pairing's name behind a blank: for the list of phones while the secrets cannot be
// read. Not in the list above, which older agents read, too.
constexpr std::string_view kNamesKey = "quillard.further-pairing-names";
constexpr std::string_view kOffered = "?";
constexpr std::string_view kEnding = "!";
constexpr int kFirst = PairingConfiguration::kFirst;
constexpr std::size_t kMostArrivals = 64;

struct StoredPairing {
  int number = 0;
  std::string mark;  // Empty: it is paired.
};

std::vector<StoredPairing> storedPairings(const platform::UserDefaults& defaults) {
  std::vector<StoredPairing> stored;
  const auto value = defaults.object(kFurtherKey);
  const auto* texts = value ? std::get_if<std::vector<std::string>>(&*value) : nullptr;
  if (!texts) return stored;
  for (const auto& text : *texts) {
    const int number = text.empty() ? 0 : text.front() - '0';
    const bool isKnown =
        std::any_of(stored.begin(), stored.end(), [&](const auto& one) { return one.number == number; });
    if (number <= kFirst || number > PhonePairings::kMost || isKnown) continue;
    stored.push_back({.number = number, .mark = text.substr(1)});
  }
  return stored;
}

// The name of a new phone, which no phone can choose.
Uuid newPhoneID(const KnownPhone& phone) {
  const auto digits = RelayCrypto::digest(phone.pairingID + "\n" + phone.deviceID);
  std::string text = digits.substr(0, 32);
  for (const std::size_t at : {20U, 16U, 12U, 8U}) text.insert(at, "-");
  return Uuid::parse(text).value_or(Uuid{});
}

void store(const std::vector<StoredPairing>& pairings, platform::UserDefaults& defaults) {
  std::vector<std::string> texts;
  for (const auto& [number, mark] : pairings) texts.push_back(std::to_string(number) + mark);
  texts.empty() ? defaults.remove(kFurtherKey) : defaults.set(kFurtherKey, std::move(texts));
}

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
      first(std::make_unique<RelaySession>(dependencies.session, sessionCallbacks(kFirst))) {}

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
  auto stored = storedPairings(dependencies.pairing.userDefaults);
  for (int number = kFirst + 1; number <= kMost; ++number) {
    const auto isNumber = [number](const StoredPairing& one) { return one.number == number; };
    const auto found = std::find_if(stored.begin(), stored.end(), isNumber);
    PairingConfiguration left{dependencies.pairing, number};
    if (found == stored.end()) {
      left.removeVoidSecrets();
    } else if (!hasRelay && found->mark == kEnding) {
      if (const auto secrets = left.storedSecrets()) roster.forget(secrets->pairingID);
      left.rotateInstallationIdentity();
      stored.erase(found);
      store(stored, dependencies.pairing.userDefaults);
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
  for (const auto& stored : storedPairings(dependencies.pairing.userDefaults)) {
    if (further(stored.number)) continue;
    auto& added = addFurther(stored.number);
    added.isOfEarlierRun = true;
    added.isEnding = !stored.mark.empty();
    added.wasPaired = stored.mark != kOffered;
    const auto secrets = added.configuration.storedSecrets();
    added.pairingID = secrets ? secrets->pairingID : storedPairingID(stored.number);
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
  endOfferIfDue();
  roster.noteTime();
}

void PhonePairings::stop() {
  isStopped = true;
  offerEnd.reset();
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
  if (const auto phone = roster.noteDecision(pairingIDOf(decision.pairing), isGrant, presentAt(decision))) {
    callbacks.onFirstGrant(*phone);
  }
  auto told = result;
  told.decidedBy = roster.deciderName(pairingIDOf(decision.pairing), presentAt(decision));
  if (decision.pairing != kFirst) first->publishResult(decision.decisionID, told);
  for (const auto& one : furtherOnes) {
    if (decision.pairing != one->number) one->session->publishResult(decision.decisionID, told);
  }
}

void PhonePairings::noteArrival(const ApprovalRequestEnvelope& decision) {
  if (arrivals.size() >= kMostArrivals) arrivals.pop_front();
  arrivals.push_back({decision.pairing, decision.decisionID, roster.connectedPhones(pairingIDOf(decision.pairing))});
}

std::vector<std::string> PhonePairings::presentAt(const ApprovalRequestEnvelope& decision) const {
  const auto found = std::find_if(arrivals.begin(), arrivals.end(), [&](const Arrival& one) {
    return one.pairing == decision.pairing && one.decisionID == decision.decisionID;
  });
  return found == arrivals.end() ? std::vector<std::string>{} : found->present;
}

std::vector<std::string> PhonePairings::decidersOf(const ApprovalRequestEnvelope& decision) const {
  const auto present = presentAt(decision);
  std::vector<std::string> names;
  for (const auto& phone : roster.phonesOf(pairingIDOf(decision.pairing))) {
    if (std::find(present.begin(), present.end(), phone.deviceID) != present.end()) names.push_back(phone.name);
  }
  return names;
}

bool PhonePairings::isAnyUsable() const {
  return !first->isPairingRevoked() || std::any_of(furtherOnes.begin(), furtherOnes.end(), [&](const auto& one) {
    return !one->isEnding && offeredNumber != one->number && !one->session->isPairingRevoked();
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
            noteArrival(numbered);
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
  if (earlier.empty() || offeredNumber != pairing) return;
  offeredNumber.reset();
  offerEnd.reset();
  save();
}

// ---- Taking back

void PhonePairings::unpairAll() {
  for (const auto& one : std::vector<int>{2, 3, 4, 5, 6, 7, 8}) unpair(one);
  unpair(kFirst);
}

void PhonePairings::unpair(int pairing) {
  if (isStopped) return;
  if (pairing == kFirst) return first->unpairPhoneFromStatusWindow();
  auto* ending = further(pairing);
  if (!ending || std::exchange(ending->isEnding, true)) return;
  if (offeredNumber == pairing) {
    offeredNumber.reset();
    offerEnd.reset();
  }
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

void PhonePairings::save() const {
  std::vector<StoredPairing> pairings;
  std::vector<std::string> names;
  for (const auto& one : furtherOnes) {
    const auto mark = one->isEnding ? kEnding : offeredNumber == one->number ? kOffered : "";
    pairings.push_back({.number = one->number, .mark = std::string(mark)});
    if (!one->pairingID.empty()) names.push_back(std::to_string(one->number) + ' ' + one->pairingID);
  }
  auto& defaults = dependencies.pairing.userDefaults;
  store(pairings, defaults);
  names.empty() ? defaults.remove(kNamesKey) : defaults.set(kNamesKey, std::move(names));
}

// Empty: it was never written down.
std::string PhonePairings::storedPairingID(int number) const {
  const auto value = dependencies.pairing.userDefaults.object(kNamesKey);
  const auto* names = value ? std::get_if<std::vector<std::string>>(&*value) : nullptr;
  const std::string prefix = std::to_string(number) + ' ';
  if (!names) return {};
  for (const auto& name : *names) {
    if (name.starts_with(prefix)) return name.substr(prefix.size());
  }
  return {};
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
  offeredNumber = added.number;
  offerEndsAt = advanced(dependencies.session.clock.now(), kOfferTime);
  offerEnd = dependencies.session.executors.mainThread().postAfter(kOfferTime, scope.bind([this] { withdrawOffer(); }));
  save();
  added.session->startRelayIfConfigured();
  callbacks.onStatusChange();
}

void PhonePairings::withdrawOffer() {
  if (offeredNumber) unpair(*offeredNumber);
}

// The timer may have stood still while the computer slept.
void PhonePairings::endOfferIfDue() {
  if (offeredNumber && dependencies.session.clock.now() >= offerEndsAt) withdrawOffer();
}

std::optional<LazyBitmap> PhonePairings::offeredImage() {
  auto* offered = offeredNumber ? further(*offeredNumber) : nullptr;
  return offered ? offered->code.image() : std::nullopt;
}

std::optional<Secret> PhonePairings::offeredText() {
  auto* offered = offeredNumber ? further(*offeredNumber) : nullptr;
  const auto payload = offered && offered->code.isAvailable() ? offered->configuration.payload() : std::nullopt;
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
  const Date now = dependencies.session.clock.now();
  std::vector<NewPhone> found;
  const auto all = phones();
  for (const auto& one : all) {
    const bool isNew = one.isUnexpected && now < advanced(one.phone.since, kNewPhoneTime);
    if (!isNew || found.size() >= kMostNewPhones) continue;
    const auto earlier =
        std::find_if(all.begin(), all.end(), [&](const PairedPhone& other) { return other.pairing == one.pairing; });
    found.push_back({.id = newPhoneID(one.phone),
                     .deviceID = one.phone.deviceID,
                     .name = one.phone.name,
                     .earlierName = earlier->phone.name,
                     .since = one.phone.since});
  }
  return found;
}

std::optional<std::string> PhonePairings::removeNewPhone(const Uuid& id) {
  const auto news = newPhones();
  const auto found = std::find_if(news.begin(), news.end(), [&](const NewPhone& one) { return one.id == id; });
  if (found == news.end()) return std::nullopt;
  for (const auto& one : phones()) {
    if (newPhoneID(one.phone) != id) continue;
    // In a turn of its own: the session that asks for it may be the one that ends.
    dependencies.session.executors.mainThread().post(scope.bind([this, pairing = one.pairing] { unpair(pairing); }));
  }
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
