#pragma once

#include <string>
#include <variant>

#include "companion/relay/HttpResponse.h"
#include "companion/relay/PairingRooms.h"
#include "companion/relay/Pairings.h"
#include "companion/relay/PeerIntroduction.h"
#include "companion/relay/PhonePage.h"
#include "companion/relay/RelayLimits.h"
#include "companion/relay/RelayTime.h"
#include "companion/relay/RequestTarget.h"
#include "companion/relay/TokenBucket.h"

namespace quillard::relayserver {

// Whom a WebSocket was granted to. Its place is only taken by PairingRooms::join.
struct Admission {
  PeerIntroduction who;
  bool offersProtocol = false;
};

// What the relay answers over HTTP, and who may have a WebSocket.
class RelayService {
 public:
  // What it is made over. All of it outlives it.
  struct Dependencies {
    Pairings& pairings;
    PairingRooms& rooms;
    const PhonePage& page;
    const RelayLimits& limits;
  };
  explicit RelayService(const Dependencies& dependencies);

  // Any request but one for a WebSocket at /ws.
  [[nodiscard]] HttpResponse answer(const HttpRequest& question, Moment now);
  // A request for a WebSocket: granted, or refused with the answer.
  [[nodiscard]] std::variant<Admission, HttpResponse> admit(const HttpRequest& question, Moment now);

  // From now on nobody is let in, and /healthz says so.
  void stop() { isStopping = true; }
  [[nodiscard]] bool isAboutToEnd() const { return isStopping; }

 private:
  [[nodiscard]] HttpResponse answerPairing(const HttpRequest& question, const RequestTarget& target, Moment now);
  [[nodiscard]] HttpResponse registerToken(const HttpRequest& question, const std::string& pairingID, Moment now);
  [[nodiscard]] HttpResponse tellPresence(const HttpRequest& question, const RequestTarget& target, Moment now);
  [[nodiscard]] std::optional<HttpResponse> refusalForPhone(const std::string& pairingID, const std::string& deviceID);
  [[nodiscard]] HttpResponse answerHealth() const;

  Pairings& pairings;
  PairingRooms& rooms;
  const PhonePage& page;
  NamedBuckets registrations;
  NamedBuckets handshakes;
  bool isStopping = false;
};

}  // namespace quillard::relayserver
