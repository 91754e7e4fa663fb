#include "companion/relay/cluster/ClusterAdmission.h"

#include <algorithm>
#include <utility>

#include "companion/relay/rules/RelayNames.h"
#include "companion/relay/rules/RoomMessages.h"

namespace quillard::relayserver {
namespace {

constexpr std::size_t kMostLookups = 256;
constexpr std::size_t kMostWaiting = 10'000;
// How long a client waits for a new home: an agent comes back after three seconds, and a lease ends after five.
constexpr std::chrono::seconds kNewHome{7};
constexpr std::size_t kLongestUnpair = 4096;
constexpr int kRegistrationAttempts = 3;

// Above what the service itself allows, which it counts later.
Rate lookupRate(const RelayLimits& limits) {
  return {limits.handshakes.burst + 2 * limits.registrations.burst,
          limits.handshakes.perSecond + 2 * limits.registrations.perSecond};
}

HttpResponse unreachable() {
  auto answer = errorResponse(503, "The relay cannot reach its cluster now.");
  answer.headers.emplace_back("retry-after", "1");
  return answer;
}

HttpResponse misdirected() { return errorResponse(421, "Another relay has this pairing."); }

}  // namespace

ClusterAdmission::ClusterAdmission(const Dependencies& dependencies)
    : member(dependencies.member),
      store(dependencies.store),
      pairings(dependencies.pairings),
      service(dependencies.service),
      now(dependencies.now),
      boot(dependencies.boot),
      lookups(lookupRate(dependencies.limits), dependencies.limits.addresses) {}

void ClusterAdmission::decide(const HttpRequest& request, bool isFromRelay, const Done& done) {
  if (request.asksForWebSocket && request.target.starts_with("/ws?")) {
    return decideUpgrade(request, isFromRelay, done);
  }
  const auto target = parseRequestTarget(request.target);
  const bool isAboutPairing = target && target->segments.size() >= 3 && target->segments[0] == "api" &&
                              target->segments[1] == "pairings" && isPairingID(target->segments[2]);
  if (isAboutPairing && request.method == "PUT" && !isFromRelay) {
    return decideRegistration(request, target->segments[2], kRegistrationAttempts, done);
  }
  // Whether a page from elsewhere may ask is the same at every relay, and no token comes with that question.
  if (isAboutPairing && target->segments.size() == 3 && request.method != "OPTIONS") {
    return decideQuestion(request, *target, isFromRelay, done);
  }
  if (isFromRelay) return done(errorResponse(404, "There is nothing at this address."));
  const bool isHealth = request.target == "/healthz" && member.isFenced();
  const bool isReadiness = request.target == "/readyz" && !member.isFresh(boot());
  if (isHealth || isReadiness) return done(unreachable());
  done(service.answer(request, now()));
}

// ---- Looking up

void ClusterAdmission::refresh(const Lookup& lookup, const Done& refused, std::function<void()> done) {
  const auto& from = lookup.from;
  if (!lookups.take(from, now().instant)) {
    auto answer = errorResponse(429, "Too many requests.");
    answer.headers.emplace_back("retry-after", std::to_string(lookups.wait(from, now().instant).count()));
    return refused(std::move(answer));
  }
  if (lookupsUnderWay >= kMostLookups || !member.isFresh(boot())) return refused(unreachable());
  ++lookupsUnderWay;
  member.refresh(lookup.pairingID, [this, refused, done = std::move(done)](bool isKnown) {
    --lookupsUnderWay;
    // What else the mirror says may have grown too old meanwhile.
    if (!isKnown || !member.isFresh(boot())) return refused(unreachable());
    done();
  });
}

void ClusterAdmission::decideRegistration(const HttpRequest& request, const std::string& pairingID, int attempts,
                                          const Done& done) {
  refresh({.pairingID = pairingID, .from = request.from}, done, [this, request, pairingID, attempts, done] {
    pairings.recount();
    auto answer = service.answer(request, now());
    store.commit(
        [this, request, pairingID, attempts, answer = std::move(answer), done](ClusterPairingStore::Commit outcome) {
          using Commit = ClusterPairingStore::Commit;
          if (outcome == Commit::kept) return done(answer);
          if (outcome == Commit::unknown || attempts <= 1) return done(unreachable());
          decideRegistration(request, pairingID, attempts - 1, done);
        });
  });
}

void ClusterAdmission::decideQuestion(const HttpRequest& request, const RequestTarget& target, bool isFromRelay,
                                      const Done& done) {
  const std::string& pairingID = target.segments[2];
  const Lookup lookup{.pairingID = pairingID, .from = isFromRelay ? RatePrefixes{} : request.from};
  refresh(lookup, done, [this, request, pairingID, isFromRelay, done] {
    const auto residence = member.residenceOf(pairingID);
    if (residence.kind != ClusterMember::Residence::Kind::elsewhere) return done(service.answer(request, now()));
    if (isFromRelay) return done(misdirected());
    done(Forwarding{.pairingID = pairingID, .relay = residence.relay, .address = residence.address});
  });
}

// ---- WebSockets

void ClusterAdmission::decideUpgrade(const HttpRequest& request, bool isFromRelay, const Done& done) {
  auto examined = service.examine(request, now());
  if (auto* refusal = std::get_if<HttpResponse>(&examined)) return done(std::move(*refusal));
  // Whoever forwards it waits for another home.
  if (!member.isFresh(boot())) return done(isFromRelay ? misdirected() : unreachable());
  decideMember(std::move(std::get<RelayService::Candidate>(examined)), isFromRelay, done);
}

void ClusterAdmission::decideMember(RelayService::Candidate candidate, bool isFromRelay, const Done& done) {
  const Instant latest = boot() + kNewHome;
  auto refusal = service.refusalForCandidate(candidate, now());
  if (!refusal) return decidePlace(std::move(candidate), isFromRelay, latest, done);
  constexpr int kUnauthorized = 401;
  constexpr int kForbidden = 403;
  const bool mayBeOld = refusal->status == kUnauthorized || refusal->status == kForbidden;
  if (!mayBeOld) return done(std::move(*refusal));
  const Lookup lookup{.pairingID = candidate.who.pairingID, .from = isFromRelay ? RatePrefixes{} : candidate.from};
  refresh(lookup, done, [this, candidate = std::move(candidate), isFromRelay, latest, done]() mutable {
    if (auto refused = service.refusalForCandidate(candidate, now())) return done(std::move(*refused));
    decidePlace(std::move(candidate), isFromRelay, latest, done);
  });
}

void ClusterAdmission::decidePlace(RelayService::Candidate candidate, bool isFromRelay, Instant latest,
                                   const Done& done) {
  using Kind = ClusterMember::Residence::Kind;
  const bool isAgent = candidate.who.role == Role::agent;
  if (isAgent && isFromRelay) return done(misdirected());
  const auto residence = member.residenceOf(candidate.who.pairingID);
  if (!isAgent && residence.kind == Kind::here) {
    return admitPhone(std::move(candidate), isFromRelay, latest, done);
  }
  if (!isAgent && residence.kind == Kind::elsewhere) {
    if (isFromRelay) return done(misdirected());
    const std::string pairingID = candidate.who.pairingID;
    return done(Forwarding{.pairingID = pairingID,
                           .relay = residence.relay,
                           .address = residence.address,
                           .candidate = std::move(candidate),
                           .latest = latest});
  }
  claim(std::move(candidate), isFromRelay, latest, done);
}

// The mirror may not know yet that the home has moved.
void ClusterAdmission::admitPhone(RelayService::Candidate candidate, bool isFromRelay, Instant latest,
                                  const Done& done) {
  const Lookup lookup{.pairingID = candidate.who.pairingID};
  refresh(lookup, done, [this, candidate = std::move(candidate), isFromRelay, latest, done]() mutable {
    const auto residence = member.residenceOf(candidate.who.pairingID);
    if (residence.kind == ClusterMember::Residence::Kind::here) return admit(candidate, done);
    decidePlace(std::move(candidate), isFromRelay, latest, done);
  });
}

void ClusterAdmission::claim(RelayService::Candidate candidate, bool isFromRelay, Instant latest, const Done& done) {
  const std::string pairingID = candidate.who.pairingID;
  const bool isAgent = candidate.who.role == Role::agent;
  member.claim(pairingID, isAgent, [=, this, candidate = std::move(candidate)](ClusterMember::Claim claimed) mutable {
    using Claim = ClusterMember::Claim;
    if (claimed == Claim::unknown) return done(unreachable());
    const bool isPhoneAtHome = claimed == Claim::here && candidate.who.role == Role::phone;
    if (claimed == Claim::elsewhere || isPhoneAtHome) {
      return decidePlace(std::move(candidate), isFromRelay, latest, done);
    }
    // Of a revoked or unknown pairing the mirror knows by now.
    admit(candidate, done);
  });
}

void ClusterAdmission::admit(const RelayService::Candidate& candidate, const Done& done) {
  auto outcome = service.admit(candidate, now());
  if (auto* refusal = std::get_if<HttpResponse>(&outcome)) return done(std::move(*refusal));
  done(std::move(std::get<Admission>(outcome)));
}

// ---- Homes that do not answer

void ClusterAdmission::decideAgain(Forwarding forwarding, bool isMisdirected, const Done& done) {
  const bool isTooLate = !forwarding.candidate || boot() >= forwarding.latest || waiting.size() >= kMostWaiting;
  if (isTooLate) return done(unreachable());
  if (!isMisdirected) {
    waiting.push_back({std::move(forwarding), done});
    return;
  }
  const std::string pairingID = forwarding.pairingID;
  refresh({.pairingID = pairingID}, done, [this, forwarding = std::move(forwarding), done]() mutable {
    waiting.push_back({std::move(forwarding), done});
    homeChanged(waiting.back().forwarding.pairingID);
  });
}

void ClusterAdmission::tryWaiting(const std::function<bool(const Waiting&)>& isDue) {
  std::vector<Waiting> due;
  const auto rest =
      std::stable_partition(waiting.begin(), waiting.end(), [&](const Waiting& one) { return !isDue(one); });
  std::move(rest, waiting.end(), std::back_inserter(due));
  waiting.erase(rest, waiting.end());
  for (auto& one : due) {
    if (boot() >= one.forwarding.latest || !member.isFresh(boot())) {
      one.done(unreachable());
    } else {
      const Instant latest = one.forwarding.latest;
      decidePlace(std::move(*one.forwarding.candidate), false, latest, one.done);
    }
  }
}

void ClusterAdmission::homeChanged(const std::string& pairingID) {
  tryWaiting([this, &pairingID](const Waiting& one) {
    if (one.forwarding.pairingID != pairingID) return false;
    const auto residence = member.residenceOf(pairingID);
    return residence.kind != ClusterMember::Residence::Kind::elsewhere || residence.relay != one.forwarding.relay;
  });
}

void ClusterAdmission::relayChanged() {
  tryWaiting([this](const Waiting& one) {
    const auto residence = member.residenceOf(one.forwarding.pairingID);
    return residence.kind != ClusterMember::Residence::Kind::elsewhere || residence.relay != one.forwarding.relay;
  });
}

void ClusterAdmission::tick() {
  tryWaiting([this](const Waiting& one) { return boot() >= one.forwarding.latest; });
}

// ---- Messages

bool ClusterAdmission::holds(const PeerIntroduction& who, std::string_view text, std::function<void()> again,
                             std::function<void()> resume) {
  if (!member.mayServe(boot())) {
    held.push_back(std::move(again));
    return true;
  }
  const bool mayUnpair =
      who.role == Role::agent && text.size() <= kLongestUnpair && text.find("unpair") != std::string_view::npos;
  if (!mayUnpair) return false;
  const auto read = readAgentMessage(text, kLongestUnpair);
  const auto* unpair = std::get_if<UnpairMessage>(&read);
  if (!unpair || unpair->deviceID) return false;
  // Kept already: then it is told without a wait.
  if (member.mirror().revokedAt(who.pairingID)) return false;
  member.revoke(who.pairingID, now().epochSeconds, std::move(resume));
  return true;
}

void ClusterAdmission::resumeHeld() {
  for (const auto& again : std::exchange(held, {})) again();
}

// ---- Routes

HttpResponse ClusterAdmission::answerRoute(const HttpRequest& request) const {
  const auto target = parseRequestTarget(request.target);
  const bool isRoute = target && target->segments == std::vector<std::string>{"route"} && target->query.size() == 1 &&
                       target->query.front().name == "pairing" && isPairingID(target->query.front().value);
  if (!isRoute) return errorResponse(400, "Ask for /route?pairing=NAME.");
  if (member.isFenced()) return unreachable();
  const auto residence = member.residenceOf(target->query.front().value);
  const bool isElsewhere = residence.kind == ClusterMember::Residence::Kind::elsewhere;
  return {
      .status = 204,
      .headers = {{"cache-control", "no-store"}, {"quillard-relay", isElsewhere ? residence.relay : member.name()}}};
}

}  // namespace quillard::relayserver
