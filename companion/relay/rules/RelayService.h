#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "companion/relay/rules/HttpResponse.h"
#include "companion/relay/rules/PairingRooms.h"
#include "companion/relay/rules/Pairings.h"
#include "companion/relay/rules/PeerIntroduction.h"
#include "companion/relay/rules/PhonePage.h"
#include "companion/relay/rules/RelayLimits.h"
#include "companion/relay/rules/RelayTime.h"
#include "companion/relay/rules/RequestTarget.h"
#include "companion/relay/rules/TokenBucket.h"

namespace quillard::relayserver {

// A WebSocket was granted to this peer. It counts as connected only after PairingRooms::join.
struct Admission {
  PeerIntroduction who;
  RatePrefixes from;
  bool offersProtocol = false;
};

// What the relay answers over HTTP, and which clients get a WebSocket. Rates are limited for each address,
// registrations and handshakes separately; a refusal never says whether a pairing exists.
class RelayService {
 public:
  // What it is made over. All of it outlives it.
  struct Dependencies {
    Pairings& pairings;
    PairingRooms& rooms;
    const PhonePage& page;
    const RelayLimits& limits;
    std::string registrationKey{};           // Whoever registers a new pairing has to show it. Empty: no client has to.
    std::vector<std::string> pageOrigins{};  // Where the phones' page is served besides, as "https://host:port".
    const RoomPush* push = nullptr;          // Null: this relay wakes no phones.
  };
  explicit RelayService(const Dependencies& dependencies);

  // Any request but one for a WebSocket at /ws.
  [[nodiscard]] HttpResponse answer(const HttpRequest& request, Moment now);
  // A request for a WebSocket: granted, or refused with the answer.
  [[nodiscard]] std::variant<Admission, HttpResponse> admit(const HttpRequest& request, Moment now);

  // The same in two halves, for a relay that has to ask others in between. Before anything is known of the pairing, for
  // which the client's rate pays;
  struct Candidate {
    PeerIntroduction who;
    std::string token;
    std::string computerKey;  // Empty: none was shown.
    RatePrefixes from;
    bool offersProtocol = false;
  };
  [[nodiscard]] std::variant<Candidate, HttpResponse> examine(const HttpRequest& request, Moment now);
  // then whether it is a member, which changes nothing;
  [[nodiscard]] std::optional<HttpResponse> refusalForCandidate(const Candidate& candidate, Moment now);
  // and all that is left.
  [[nodiscard]] std::variant<Admission, HttpResponse> admit(const Candidate& candidate, Moment now);

  // From now on /readyz answers 503, so that no new client is sent here; all else goes on.
  void drain() { isDraining = true; }
  // From now on every WebSocket is refused, and /healthz answers 503, too.
  void stop() { isStopping = true; }
  [[nodiscard]] bool stopRequested() const { return isStopping; }

 private:
  [[nodiscard]] HttpResponse answerAnyPage(const HttpRequest& request, Moment now);
  [[nodiscard]] bool isFromPageElsewhere(const HttpRequest& request) const;
  [[nodiscard]] HttpResponse answerPairing(const HttpRequest& request, const RequestTarget& target, Moment now);
  [[nodiscard]] HttpResponse registerToken(const HttpRequest& request, const std::string& pairingID, Moment now);
  [[nodiscard]] HttpResponse answerPresence(const HttpRequest& request, const RequestTarget& target, Moment now);
  [[nodiscard]] HttpResponse answerPushKey(const HttpRequest& request, const RequestTarget& target, Moment now);
  // Absent: the request comes from a member of the pairing.
  [[nodiscard]] std::optional<HttpResponse> refusalForQuestion(const HttpRequest& request, const RequestTarget& target,
                                                               Moment now);
  [[nodiscard]] HttpResponse answerHealth(Moment now) const;
  [[nodiscard]] HttpResponse answerReadiness(Moment now) const;

  Pairings& pairings;
  PairingRooms& rooms;
  const PhonePage& page;
  const std::string registrationKey;
  const std::vector<std::string> pageOrigins;
  const RoomPush* const push;
  PrefixBuckets registrations;
  PrefixBuckets handshakes;
  bool isDraining = false;
  bool isStopping = false;
};

}  // namespace quillard::relayserver
