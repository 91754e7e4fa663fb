#include "companion/relay/cluster/ClusterMember.h"

#include <algorithm>
#include <utility>

#include "companion/relay/rules/RelayNames.h"

namespace quillard::relayserver {
namespace {

// A proof that is no older than this shows that the engine is there.
constexpr std::chrono::milliseconds kSteady{800};
// After an election all relays have the engine again within such a time, on busy machines as well.
constexpr std::chrono::milliseconds kElected{3'000};
// Between turns that are further apart than this the process was busy or stopped, and knows nothing of the engine.
constexpr std::chrono::milliseconds kStalled{500};

}  // namespace

ClusterMember::ClusterMember(const Dependencies& dependencies, Options options, Listener listener)
    : store(dependencies.store),
      disk(dependencies.disk),
      log(dependencies.log),
      options(std::move(options)),
      listener(std::move(listener)),
      known(ClusterMirror::Listener{.homeChanged = [this](const std::string& pairingID) { didChangeHome(pairingID); },
                                    .revoked =
                                        [this](const std::string& pairingID) {
                                          if (this->listener.revoked) this->listener.revoked(pairingID);
                                        },
                                    .relayChanged =
                                        [this](const std::string& relay) {
                                          if (this->listener.relayChanged) this->listener.relayChanged(relay);
                                        }}),
      watchTime(this->options.times.watchSilence) {}

// ---- Time

void ClusterMember::noteTurn(Instant now) {
  const bool hasSlept = latestTurn != Instant{} && now - latestTurn > options.times.sleep;
  if (now - latestTurn > kStalled) resumedAt = now;
  latestTurn = std::max(latestTurn, now);
  if (!hasSlept) return;
  wokenAt = now;
  mustProve = true;
  nextBeat = now;
  nextKeep = now;
  log.warn("The relay has been stopped for a while: it finds out what happened before it goes on.");
}

void ClusterMember::tick(Instant now) {
  noteTurn(now);
  if (isLeaving || isSuperseded) return;
  if (!hasEverything) readEverything();
  if (!lease) takeLease();
  if (hasEverything && (!isWatching || isWatchSilent())) startWatch();
  if (now >= nextBeat) beat();
  if (now >= nextTombstones) sendTombstones();
  if (!earlierPairings.empty() && !isBringing) bringNextPairing();
  checkFence();
}

bool ClusterMember::isFresh(Instant now) {
  noteTurn(now);
  checkFence();
  return state == State::serving && !mustProve && now - provenAt <= options.times.admission;
}

bool ClusterMember::mayServe(Instant now) {
  noteTurn(now);
  checkFence();
  return state == State::serving && !mustProve;
}

Duration ClusterMember::steadyFor(Instant now) {
  noteTurn(now);
  const bool hasEngine = state == State::serving && !mustProve && now - provenAt <= kSteady;
  return hasEngine ? now - steadySince : Duration::zero();
}

void ClusterMember::noteNeighbour(Duration itsSteadyTime, Instant now) {
  noteTurn(now);
  if (itsSteadyTime > kElected && isInDoubt(now)) fence("This relay alone has no connection with the cluster's store.");
}

bool ClusterMember::isInDoubt(Instant now) const {
  return state == State::serving && now - std::max(provenAt, resumedAt) > options.times.neighbour;
}

void ClusterMember::checkFence() {
  if (state == State::serving && latestTurn - provenAt > options.times.fence) {
    fence("The cluster's store was not reached for too long.");
  }
}

void ClusterMember::fence(const std::string& why) {
  state = State::fenced;
  ++fences;
  log.warn(why + " Every connection is closed.");
  if (listener.fenced) listener.fenced();
}

ClusterMetrics ClusterMember::metrics(Instant now) {
  const bool admits = isFresh(now);
  return {.isServing = !isFenced(), .isFresh = admits, .fences = fences, .unsavedRevocations = unsavedCount()};
}

// ---- Following

void ClusterMember::readEverything() {
  if (isReading) return;
  isReading = true;
  store.readAll("", [this](std::optional<ClusterReading> reading) {
    isReading = false;
    if (reading) didReadEverything(*reading);
  });
}

void ClusterMember::didReadEverything(const ClusterReading& reading) {
  hasEverything = true;
  known.replaceAll(reading);
  bringDiskIntoStore();
  startWatch();
  beat();
}

bool ClusterMember::isWatchSilent() const { return latestTurn - watchReceivedAt > watchTime; }

void ClusterMember::startWatch() {
  const bool hasShownNothing = isWatching && watchReceivedAt == watchSince;
  if (hasShownNothing) watchTime = std::min<Duration>(2 * watchTime, options.times.longestWatchSilence);
  isWatching = true;
  watchSince = latestTurn;
  watchReceivedAt = latestTurn;
  const auto number = ++watchNumber;
  const auto ifNewest = [this, number](auto act) {
    return [this, number, act](const auto&... arguments) {
      if (number == watchNumber) act(arguments...);
    };
  };
  store.watch(known.watchedUpTo() + 1,
              {.events = ifNewest([this](const std::vector<ClusterEvent>& events) { didWatch(events); }),
               .compacted = ifNewest([this] {
                 isWatching = false;
                 hasEverything = false;
               }),
               .ended = ifNewest([this] { isWatching = false; })});
}

void ClusterMember::didWatch(const std::vector<ClusterEvent>& events) {
  watchReceivedAt = latestTurn;
  if (watchReceivedAt > watchSince) watchTime = options.times.watchSilence;
  known.apply(events);
  noteProof();
}

void ClusterMember::noteProof() {
  const auto* self = known.relay(options.relay);
  if (!self) return;
  if (self->record.run != options.run) {
    // Before the first beat has come back, that is what an earlier process left behind.
    isSuperseded = provenAt != Instant{};
    if (isSuperseded && state == State::serving) fence("Another relay was started under this one's name.");
    return;
  }
  if (isSuperseded) return;
  const auto sent = sentBeats.find(self->record.beat);
  if (sent == sentBeats.end()) return;
  // What was sent before the engine went may be taken when it is back: what counts is when it came.
  if (latestTurn - provenAt > kSteady) steadySince = latestTurn;
  provenAt = std::max(provenAt, sent->second);
  sentBeats.erase(sentBeats.begin(), std::next(sent));
  if (mustProve && provenAt < wokenAt) return;
  const bool wasAway = mustProve || state != State::serving;
  if (state != State::serving) log.warn("The relay serves as a part of its cluster.");
  mustProve = false;
  state = State::serving;
  if (wasAway && listener.proven) listener.proven();
}

void ClusterMember::didChangeHome(const std::string& pairingID) {
  if (listener.homeChanged) listener.homeChanged(pairingID);
  const auto* home = known.home(pairingID);
  const bool isOurs = home && home->record.relay == options.relay && home->record.run == options.run;
  if (!isOurs && listener.movedAway) listener.movedAway(pairingID);
}

// ---- Living

void ClusterMember::takeLease() {
  if (isTakingLease) return;
  isTakingLease = true;
  store.takeLease(options.times.leaseSeconds, [this](std::optional<LeaseNumber> taken) {
    isTakingLease = false;
    lease = taken;
    nextKeep = {};
    if (hasEverything) beat();
  });
}

void ClusterMember::beat() {
  if (!lease || isLeaving || isSuperseded) return;
  nextBeat = latestTurn + options.times.beat;
  constexpr std::size_t kMostUnderWay = 32;
  if (sentBeats.size() >= kMostUnderWay) sentBeats.erase(sentBeats.begin());
  sentBeats[++beats] = latestTurn;
  const RelayRecord record{.address = options.address, .run = options.run, .beat = beats};
  const LeaseNumber present = *lease;
  ClusterTransaction transaction;
  transaction.changes.push_back({.key = relayKey(options.relay), .value = valueOf(record), .lease = present});
  store.transact(std::move(transaction), [](const std::optional<ClusterTransactionResult>&) {});
  if (latestTurn < nextKeep) return;
  nextKeep = latestTurn + options.times.keep;
  store.keepLease(present, [this, present](std::optional<bool> isKept) {
    if (isKept == false && lease == present) lease.reset();
  });
}

void ClusterMember::leave(const std::function<void()>& done) {
  isLeaving = true;
  ++watchNumber;
  ClusterTransaction transaction;
  transaction.changes.push_back({.kind = ClusterChange::Kind::erase, .key = relayKey(options.relay)});
  store.transact(std::move(transaction), [done](const std::optional<ClusterTransactionResult>&) { done(); });
}

}  // namespace quillard::relayserver
