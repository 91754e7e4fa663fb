#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "companion/relay/rules/EventLog.h"
#include "companion/relay/rules/MemoryPairingStore.h"
#include "companion/relay/rules/PairingRooms.h"
#include "companion/relay/rules/Pairings.h"
#include "companion/relay/rules/RelayService.h"
#include "foundation/StrictJson.h"

namespace quillard::relayserver {

// For tests: a connection that keeps what it is sent, and takes only so much.
class FakePeer final : public RelayPeer {
 public:
  Sending send(const MessageText& text, std::uint64_t number) override {
    if (texts.size() + underWay.size() >= room) return Sending::refused;
    if (isSlow) {
      underWay.emplace_back(number, text);
      return Sending::underWay;
    }
    texts.push_back(*text);
    return Sending::written;
  }
  void ping() override { ++pings; }
  void close(CloseCode code) override { closed = code; }
  void abort() override { isAborted = true; }
  [[nodiscard]] std::size_t heldBytes() const override { return isAborted ? 0 : held; }

  [[nodiscard]] Json newest() const { return texts.empty() ? Json() : Json::parse(texts.back()); }
  // All of one type.
  [[nodiscard]] std::vector<Json> ofType(const std::string& type) const {
    std::vector<Json> found;
    for (const auto& text : texts) {
      if (auto json = Json::parse(text); json["type"] == type) found.push_back(std::move(json));
    }
    return found;
  }

  // What a slow one had under way is written, or, since it has ended, dropped.
  void writeAll(PairingRooms& rooms, Instant now) {
    for (const auto& [number, text] : std::exchange(underWay, {})) {
      texts.push_back(*text);
      if (number != 0) rooms.didWrite(number, now);
    }
  }
  void dropAll(PairingRooms& rooms, Instant now) {
    for (const auto& [number, text] : std::exchange(underWay, {})) {
      if (number != 0) rooms.didDrop(number, text, now);
    }
  }

  std::vector<std::string> texts;
  bool isSlow = false;  // Nothing is written at once.
  std::vector<std::pair<std::uint64_t, MessageText>> underWay;
  std::size_t room = 1'000'000;
  int pings = 0;
  std::optional<CloseCode> closed;
  bool isAborted = false;
  std::size_t held = 0;
};

class KeptLog final : public EventLog {
 public:
  void note(std::string_view line) override { lines.emplace_back(line); }
  void warn(std::string_view line) override { lines.emplace_back(line); }
  std::vector<std::string> lines;
};

inline const std::string kToken(64, 'a');
inline const std::string kPairing = "quillard-office-1";

// For tests: everything above the sockets, in virtual time.
class RelayWorld {
 public:
  // `push`: outlives it; null: phones are not woken.
  explicit RelayWorld(const RelayLimits& limits = {}, RoomPush* push = nullptr,
                      std::vector<std::string> pageOrigins = {})
      : limits(limits), push(push), pageOrigins(std::move(pageOrigins)) {}

  [[nodiscard]] Moment now() const { return {instant, epochSeconds}; }
  void advance(Duration by) {
    passed += by;
    instant += by;
    epochSeconds = 1'772'000'000 + std::chrono::duration_cast<std::chrono::seconds>(passed).count();
  }
  // Advances in the server's own steps.
  void run(Duration by) {
    constexpr std::chrono::milliseconds kStep{250};
    for (Duration done{}; done < by; done += kStep) {
      advance(kStep);
      rooms.tick(instant);
    }
  }

  std::shared_ptr<FakePeer> join(PeerIntroduction who, const RatePrefixes& from = {"192.0.2.1"}) {
    auto peer = std::make_shared<FakePeer>();
    rooms.join(peer, std::move(who), from, instant);
    return peer;
  }
  std::shared_ptr<FakePeer> joinAgent(const std::string& pairingID = kPairing) {
    return join({.role = Role::agent, .pairingID = pairingID});
  }
  std::shared_ptr<FakePeer> joinPhone(const std::string& deviceID, const std::string& pairingID = kPairing) {
    return join(
        {.role = Role::phone, .pairingID = pairingID, .deviceID = deviceID, .deviceName = deviceID + "'s name"});
  }
  Duration say(FakePeer& peer, const Json& message) { return rooms.take(peer, message.dump(), now()); }
  HttpResponse ask(HttpRequest request) {
    if (request.from.empty()) request.from = {"192.0.2.1"};
    return service.answer(request, now());
  }
  HttpResponse registerToken(const std::string& token = kToken, const std::string& pairingID = kPairing) {
    return ask({.method = "PUT",
                .target = "/api/pairings/" + pairingID + "/relay-token",
                .body = R"({"client":"mac","version":1})",
                .authorization = {"Bearer " + token}});
  }
  // With what the agent says of its own key; empty: nothing.
  int registerComputer(const std::string& key, const std::string& token = kToken) {
    HttpRequest request{.method = "PUT",
                        .target = "/api/pairings/" + kPairing + "/relay-token",
                        .body = R"({"client":"mac","version":1})",
                        .authorization = {"Bearer " + token}};
    if (!key.empty()) request.computerKey = {key};
    return ask(std::move(request)).status;
  }
  // 101 when it is granted.
  int connectAgent(const std::string& key) {
    HttpRequest request{.method = "GET",
                        .target = "/ws?role=mac&pairing=" + kPairing,
                        .authorization = {"Bearer " + kToken},
                        .asksForWebSocket = true,
                        .from = {"192.0.2.1"}};
    if (!key.empty()) request.computerKey = {key};
    const auto outcome = service.admit(request, now());
    const auto* refusal = std::get_if<HttpResponse>(&outcome);
    return refusal ? refusal->status : 101;
  }
  // 101 when it is granted.
  int connect(const std::string& query, const std::string& token = kToken, const std::string& from = "192.0.2.1") {
    const auto outcome = service.admit({.method = "GET",
                                        .target = "/ws?" + query,
                                        .authorization = {"Bearer " + token},
                                        .asksForWebSocket = true,
                                        .from = {from}},
                                       now());
    const auto* refusal = std::get_if<HttpResponse>(&outcome);
    return refusal ? refusal->status : 101;
  }

  RelayLimits limits;
  RoomPush* push;
  std::vector<std::string> pageOrigins;
  Instant instant{std::chrono::hours(1)};
  std::int64_t epochSeconds = 1'772'000'000;
  MemoryPairingStore store;
  RelayMetrics metrics;
  KeptLog log;
  PhonePage page;
  MemoryBudget memory{limits.memoryBytes};
  Pairings pairings{store, limits};
  PairingRooms rooms{PairingRooms::Dependencies{pairings, memory, limits, metrics, log, push}};
  RelayService service{RelayService::Dependencies{pairings, rooms, page, limits, "", pageOrigins, push}};

 private:
  Duration passed{};
};

// ---- Messages as both ends send them

inline Json sealed() { return {{"version", 1}, {"nonce", "AAAAAAAAAAAAAAAA"}, {"ciphertext", "QUJD"}}; }

inline Json snapshot(const std::string& id = "ax1:0") {
  return {{"type", "mac.snapshot"},       {"observedAt", "2026-03-01T12:34:56Z"},
          {"accessibilityTrusted", true}, {"encryptedApprovals", sealed()},
          {"approvalCount", 1},           {"snapshotID", id}};
}

inline Json clock() { return {{"type", "mac.clock"}, {"encryptedClock", sealed()}}; }

inline Json result(const std::string& decisionID) {
  return {{"type", "approval.result"},
          {"decisionID", decisionID},
          {"encryptedResult", sealed()},
          {"issuedAt", "2026-03-01T12:34:56Z"}};
}

inline Json request(const std::string& decisionID) {
  return {{"type", "approval.request"}, {"decisionID", decisionID}, {"encryptedRequest", sealed()}};
}

inline Json suppression(const std::string& decisionID, const std::string& type = "approval.suppress") {
  return {{"type", type}, {"decisionID", decisionID}, {"encryptedSuppression", sealed()}};
}

inline Json unpair() { return {{"type", "phone.unpair"}, {"issuedAt", "2026-03-01T12:34:56Z"}}; }

inline Json unpair(const std::string& deviceID) {
  return {{"type", "phone.unpair"}, {"deviceID", deviceID}, {"issuedAt", "2026-03-01T12:34:56Z"}};
}

}  // namespace quillard::relayserver
