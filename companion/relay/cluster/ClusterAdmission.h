#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "companion/relay/cluster/ClusterMember.h"
#include "companion/relay/cluster/ClusterPairingStore.h"
#include "companion/relay/rules/Pairings.h"
#include "companion/relay/rules/RelayService.h"
#include "companion/relay/rules/RequestTarget.h"

namespace quillard::relayserver {

// A request that the home of a pairing's room has to answer.
struct Forwarding {
  std::string pairingID;
  std::string relay;
  std::string address;
  std::optional<RelayService::Candidate> candidate;  // Absent: a question about the pairing.
  Instant latest{};                                  // Of another attempt.
};

// What a relay of a cluster does with a request: answer it, let its sender in, or hand it to another relay.
using ClusterDecision = std::variant<HttpResponse, Admission, Forwarding>;

// Who may come in at one relay of a cluster, and where. An agent is always taken where it arrives, which becomes the
// home; a phone goes to the home, and where there is none, the relay that it has reached becomes it. Nobody is let in,
// or refused as unknown, by what the mirror says alone: the store is asked first, since the mirror may be some seconds
// old.
//
// Everything may be answered later, on the same thread. Where the store is not reached the answer is 503.
class ClusterAdmission {
 public:
  // All of it outlives it. `now`: on the clocks of Moment; `boot`: that of ClusterMember.
  struct Dependencies {
    ClusterMember& member;
    ClusterPairingStore& store;
    Pairings& pairings;
    RelayService& service;
    const RelayLimits& limits;
    std::function<Moment()> now;
    std::function<Instant()> boot;
  };
  explicit ClusterAdmission(const Dependencies& dependencies);

  using Done = std::function<void(ClusterDecision)>;
  // `isFromRelay`: another relay forwards it. Then it is not forwarded again: 421 says that the home is elsewhere.
  void decide(const HttpRequest& request, bool isFromRelay, const Done& done);
  // The home could not be reached, or said that it is none: waits a little for another one.
  void decideAgain(Forwarding forwarding, bool isMisdirected, const Done& done);

  // Whether a message has to wait. After the process has slept it waits until it is known what happened; then `again`
  // is called once, later, and this is to be asked again. What revokes waits until it is kept; then `resume`
  // is called once, later, and the message can be taken.
  [[nodiscard]] bool holds(const PeerIntroduction& who, std::string_view text, std::function<void()> again,
                           std::function<void()> resume);

  // What the member's listener hears.
  void homeChanged(const std::string& pairingID);
  void relayChanged();
  void resumeHeld();
  // To be called a few times a second.
  void tick();

  // GET /route?pairing=P, for load balancers: which relay to send the pairing's clients to. Tells who has which room,
  // so it is not for clients.
  [[nodiscard]] HttpResponse answerRoute(const HttpRequest& request) const;

 private:
  struct Waiting {
    Forwarding forwarding;
    Done done;
  };

  void decideUpgrade(const HttpRequest& request, bool isFromRelay, const Done& done);
  void decideMember(RelayService::Candidate candidate, bool isFromRelay, const Done& done);
  void decidePlace(RelayService::Candidate candidate, bool isFromRelay, Instant latest, const Done& done);
  void claim(RelayService::Candidate candidate, bool isFromRelay, Instant latest, const Done& done);
  void admit(const RelayService::Candidate& candidate, const Done& done);
  void decideRegistration(const HttpRequest& request, const std::string& pairingID, int attempts, const Done& done);
  void decideQuestion(const HttpRequest& request, const RequestTarget& target, bool isFromRelay, const Done& done);
  // What a client makes the relay ask.
  struct Lookup {
    std::string pairingID;
    RatePrefixes from{};  // Empty: that is not counted.
  };
  void refresh(const Lookup& lookup, const Done& refused, std::function<void()> done);
  void admitPhone(RelayService::Candidate candidate, bool isFromRelay, Instant latest, const Done& done);
  void tryWaiting(const std::function<bool(const Waiting&)>& isDue);

  ClusterMember& member;
  ClusterPairingStore& store;
  Pairings& pairings;
  RelayService& service;
  const std::function<Moment()> now;
  const std::function<Instant()> boot;
  PrefixBuckets lookups;  // What clients make this relay ask the store, by address.
  std::size_t lookupsUnderWay = 0;
  std::vector<Waiting> waiting;
  std::vector<std::function<void()>> held;
};

}  // namespace quillard::relayserver
