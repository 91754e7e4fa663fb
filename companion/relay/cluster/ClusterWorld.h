#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "companion/relay/cluster/ClusterAdmission.h"
#include "companion/relay/cluster/SimulatedClusterStore.h"
#include "companion/relay/rules/RelayWorld.h"

namespace quillard::relayserver {

// A fake of a relay's own disk.
class MemoryRelayDisk final : public RelayDisk {
 public:
  void keepRevocation(const std::string& pairingID, std::int64_t at) override {
    probe();
    revoked.push_back({pairingID, at});
  }
  std::vector<Revocation> revocations() override { return revoked; }
  std::vector<Pairing> pairings() override { return earlier; }
  void forgetPairings() override { earlier.clear(); }
  void probe() override {
    if (isFull) throw PairingStore::Failure{"disk full"};
  }

  bool isFull = false;
  std::vector<Revocation> revoked;
  std::vector<Pairing> earlier;
};

// For tests: a relay of a cluster without its sockets, in virtual time.
class ClusterRelay {
 public:
  ClusterRelay(SimulatedClusterEngine& engine, const std::string& name, const std::string& run = "a1")
      : engine(engine), engineEnd(engine), member(memberOf(name, run)) {}

  void tick() {
    if (isAsleep) return;
    member.tick(engine.now());
    admission.tick();
    rooms.tick(engine.now());
  }

  [[nodiscard]] Moment now() const {
    return {engine.now(), std::chrono::duration_cast<std::chrono::seconds>(engine.now().time_since_epoch()).count()};
  }
  // Absent: it is not decided yet.
  std::shared_ptr<std::optional<ClusterDecision>> decide(const HttpRequest& request, bool isFromRelay = false) {
    auto decided = std::make_shared<std::optional<ClusterDecision>>();
    admission.decide(request, isFromRelay, [decided](ClusterDecision decision) { *decided = std::move(decision); });
    return decided;
  }
  std::shared_ptr<std::optional<ClusterDecision>> upgrade(const std::string& query) {
    return decide(
        {.method = "GET", .target = "/ws?" + query, .authorization = {"Bearer " + kToken}, .asksForWebSocket = true});
  }
  // `computerKey` empty: none is shown.
  std::shared_ptr<std::optional<ClusterDecision>> registerToken(const std::string& pairingID,
                                                                const std::string& computerKey = {}) {
    HttpRequest request{.method = "PUT",
                        .target = "/api/pairings/" + pairingID + "/relay-token",
                        .body = R"({"client":"mac","version":1})",
                        .authorization = {"Bearer " + kToken}};
    if (!computerKey.empty()) request.computerKey = {computerKey};
    return decide(request);
  }
  // Lets somebody in as `decision` says, which has to be an admission.
  std::shared_ptr<FakePeer> join(const ClusterDecision& decision) {
    auto peer = std::make_shared<FakePeer>();
    const auto& admitted = std::get<Admission>(decision);
    rooms.join(peer, admitted.who, admitted.from, engine.now());
    return peer;
  }

  SimulatedClusterEngine& engine;
  SimulatedClusterStore engineEnd;
  MemoryRelayDisk disk;
  KeptLog log;
  bool isAsleep = false;
  int fences = 0;
  RelayLimits limits = limitsOfTests();
  ClusterMember member;
  ClusterPairingStore store{member, limits, [this] { return member.isFresh(engine.now()); }};
  RelayMetrics metrics;
  PhonePage page;
  MemoryBudget memory{limits.memoryBytes};
  Pairings pairings{store, limits};
  PairingRooms rooms{PairingRooms::Dependencies{pairings, memory, limits, metrics, log}};
  RelayService service{RelayService::Dependencies{pairings, rooms, page, limits}};
  ClusterAdmission admission{ClusterAdmission::Dependencies{member, store, pairings, service, limits,
                                                            [this] { return now(); }, [this] { return engine.now(); }}};

 private:
  static RelayLimits limitsOfTests() {
    RelayLimits limits;
    limits.handshakes = {1e6, 1e6};
    limits.registrations = {1e6, 1e6};
    return limits;
  }

  ClusterMember memberOf(const std::string& name, const std::string& run) {
    return {
        {engineEnd, disk, log},
        {.relay = name, .address = "127.0.0.1:8443", .run = run},
        {.movedAway = [this](const std::string& id) { rooms.closeRoom(id, CloseCode::replaced, CloseCode::stopping); },
         .revoked = [this](const std::string& id) { rooms.closeRoom(id, CloseCode::revoked, CloseCode::revoked); },
         .homeChanged = [this](const std::string& id) { admission.homeChanged(id); },
         .relayChanged = [this](const std::string&) { admission.relayChanged(); },
         .fenced =
             [this] {
               ++fences;
               while (rooms.closeNext(CloseCode::stopping)) {
               }
               admission.resumeHeld();
             },
         .proven = [this] { admission.resumeHeld(); }}};
  }
};

// Three of them.
class ClusterWorld {
 public:
  ClusterWorld() {
    for (const char* name : {"relay-a", "relay-b", "relay-c"}) {
      relays.push_back(std::make_unique<ClusterRelay>(engine, name));
    }
    run(std::chrono::seconds(2));
  }
  void run(Duration by) {
    constexpr std::chrono::milliseconds kStep{50};
    for (Duration done{}; done < by; done += kStep) {
      engine.advance(kStep);
      for (const auto& relay : relays) relay->tick();
    }
  }
  ClusterRelay& operator[](std::size_t relay) { return *relays[relay]; }
  // What was decided within a few seconds.
  ClusterDecision settle(const std::shared_ptr<std::optional<ClusterDecision>>& decision) {
    for (int i = 0; i < 200 && !*decision; ++i) run(std::chrono::milliseconds(50));
    return decision->value();
  }
  // The status; 101: let in here, 0: to be forwarded.
  int status(const std::shared_ptr<std::optional<ClusterDecision>>& decision) {
    const auto settled = settle(decision);
    if (const auto* answer = std::get_if<HttpResponse>(&settled)) return answer->status;
    return std::holds_alternative<Admission>(settled) ? 101 : 0;
  }

  SimulatedClusterEngine engine;
  std::vector<std::unique_ptr<ClusterRelay>> relays;
};

}  // namespace quillard::relayserver
