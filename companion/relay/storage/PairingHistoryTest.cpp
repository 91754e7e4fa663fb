#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "companion/relay/cluster/ClusterWorld.h"
#include "companion/relay/storage/SqlitePairingStore.h"
#include "support/TemporaryFolder.h"

// One random history of registrations, joins and revocations, against a plain model: by one relay with its
// database, and by three relays of a cluster, of which some are cut off or asleep now and then.
namespace quillard::relayserver {
namespace {

struct Step {
  int kind = 0;  // Registers, joins (two of them), revokes, forgets what is unused, and for a cluster a fault.
  int pairing = 0;
  int device = 0;
  int token = 0;
  std::size_t relay = 0;
};

void showValue(const Step& step, std::ostream& stream) {
  stream << "{.kind = " << step.kind << ", .pairing = " << step.pairing << ", .device = " << step.device
         << ", .token = " << step.token << ", .relay = " << step.relay << "}";
}

constexpr std::int64_t kLate = 1'000'000'000'000;

std::string pairingName(const Step& step) { return "pairing-" + std::to_string(step.pairing); }
std::string deviceName(const Step& step) { return "D" + std::to_string(step.device); }
std::string tokenOf(const Step& step) { return std::string(64, static_cast<char>('a' + step.token)); }

HttpRequest registration(const Step& step) {
  return {.method = "PUT",
          .target = "/api/pairings/" + pairingName(step) + "/relay-token",
          .body = R"({"client":"mac","version":1})",
          .authorization = {"Bearer " + tokenOf(step)}};
}
HttpRequest phoneJoin(const Step& step) {
  return {.method = "GET",
          .target = "/ws?role=phone&deviceName=A&deviceID=" + deviceName(step) + "&pairing=" + pairingName(step),
          .authorization = {"Bearer " + tokenOf(step)},
          .asksForWebSocket = true};
}

// What has to be answered.
class Model {
 public:
  int registerToken(const Step& step) {
    if (revoked.contains(step.pairing)) return 410;
    const auto [at, isNew] = tokens.try_emplace(step.pairing, step.token);
    return isNew || at->second == step.token ? 204 : 401;
  }
  [[nodiscard]] int join(const Step& step) const {
    if (revoked.contains(step.pairing)) return 410;
    const auto known = tokens.find(step.pairing);
    if (known == tokens.end() || known->second != step.token) return 401;
    return 101;
  }
  [[nodiscard]] bool isKept(const Step& step) const {
    return tokens.contains(step.pairing) && !revoked.contains(step.pairing);
  }
  void revoke(const Step& step) { revoked.insert(step.pairing); }
  void forgetAll() { tokens.clear(); }

 private:
  std::map<int, int> tokens;
  std::set<int> revoked;
};

class OneRelay {
 public:
  int answer(const HttpRequest& request, std::size_t) {
    if (!request.asksForWebSocket) return service.answer(request, {}).status;
    const auto outcome = service.admit(request, {});
    const auto* refusal = std::get_if<HttpResponse>(&outcome);
    return refusal ? refusal->status : 101;
  }
  void revoke(const Step& step) { RC_ASSERT(pairings.revoke(pairingName(step), 1)); }
  void forgetAll(const Step&) { store.purge(kLate, kLate); }
  void fail(const Step&) {}
  static bool mayRefuse() { return false; }

 private:
  test::TemporaryFolder folder;
  RelayLimits limits{.registrations = {1e6, 1e6}, .handshakes = {1e6, 1e6}};
  SqlitePairingStore store{folder.path() + "/relay.db"};
  Pairings pairings{store, limits};
  MemoryBudget memory{limits.memoryBytes};
  RelayMetrics metrics;
  KeptLog log;
  PhonePage page;
  PairingRooms rooms{PairingRooms::Dependencies{pairings, memory, limits, metrics, log}};
  RelayService service{RelayService::Dependencies{pairings, rooms, page, limits}};
};

class ThreeRelays {
 public:
  int answer(const HttpRequest& request, std::size_t relay) {
    const auto decision = world.settle(world[relay].decide(request));
    const auto* forwarding = std::get_if<Forwarding>(&decision);
    if (!forwarding) return statusOf(decision);
    // As the tunnel would bring it there; a home that cannot say so is no answer.
    const auto home = static_cast<std::size_t>(forwarding->relay.back() - 'a');
    const int status = statusOf(world.settle(world[home].decide(request, true)));
    return status == 421 ? 503 : status;
  }
  // By a relay that is well, as an agent would come to.
  void revoke(const Step& step) {
    bool isDone = false;
    world[well(step)].member.revoke(pairingName(step), 1, [&] { isDone = true; });
    settle([&] { return isDone; });
  }
  void forgetAll(const Step& step) {
    // One that knows of everything.
    auto& relay = world[well(step)];
    world.run(std::chrono::seconds(2));
    // What it asked for while it was cut off fails late, and is asked for again only then.
    settle([&] { return relay.member.steadyFor(world.engine.now()) > Duration::zero(); });
    relay.store.purge(kLate, kLate);
    world.run(std::chrono::seconds(2));
    for (int pairing = 0; pairing < 3; ++pairing) {
      RC_ASSERT(!world.engine.value(pairingKey(pairingName({.pairing = pairing}))));
    }
  }
  void fail(const Step& step) {
    auto& relay = world[step.relay];
    if (step.device == 0) relay.engineEnd.isCutOff = !relay.engineEnd.isCutOff;
    if (step.device == 1) relay.engineEnd.hasSilentWatch = true;
    if (step.device == 2) world.engine.compact();
    // Only one at a time is cut off.
    for (std::size_t other = 0; other < 3; ++other) {
      if (other != step.relay) world[other].engineEnd.isCutOff = false;
    }
    world.run(std::chrono::milliseconds(step.token == 0 ? 50 : 9'000));
  }
  [[nodiscard]] bool mayRefuse() const { return true; }

 private:
  static int statusOf(const ClusterDecision& decision) {
    const auto* answer = std::get_if<HttpResponse>(&decision);
    return answer ? answer->status : 101;
  }
  template <class Condition>
  void settle(Condition isSo) {
    for (int i = 0; i < 200 && !isSo(); ++i) world.run(std::chrono::milliseconds(50));
    RC_ASSERT(isSo());
  }
  [[nodiscard]] std::size_t well(const Step& step) {
    return world[step.relay].engineEnd.isCutOff ? (step.relay + 1) % 3 : step.relay;
  }

  ClusterWorld world;
};

template <class Relays>
void follow(const std::vector<Step>& history, Relays& relays) {
  Model model;
  for (const auto& step : history) {
    if (step.kind == 0) {
      const int status = relays.answer(registration(step), step.relay);
      // Nobody may be told anything else than what is so; that it cannot be known is fine.
      if (relays.mayRefuse() && status == 503) continue;
      RC_ASSERT(status == model.registerToken(step));
    } else if (step.kind <= 2) {
      const int status = relays.answer(phoneJoin(step), step.relay);
      if (relays.mayRefuse() && status == 503) continue;
      RC_ASSERT(status == model.join(step));
    } else if (step.kind == 3 && model.isKept(step)) {
      relays.revoke(step);
      model.revoke(step);
    } else if (step.kind == 4 && step.device == 0) {
      relays.forgetAll(step);
      model.forgetAll();
    } else if (step.kind >= 4) {
      relays.fail(step);
    }
  }
}

rc::Gen<std::vector<Step>> histories() {
  return rc::gen::container<std::vector<Step>>(
      rc::gen::construct<Step>(rc::gen::inRange(0, 7), rc::gen::inRange(0, 3), rc::gen::inRange(0, 3),
                               rc::gen::weightedElement<int>({{4, 0}, {1, 1}}), rc::gen::inRange<std::size_t>(0, 3)));
}

RC_GTEST_PROP(PairingHistory, IsAnsweredByOneRelayAsByTheModel, ()) {
  const auto history = *histories();
  OneRelay relay;
  follow(history, relay);
}

RC_GTEST_PROP(PairingHistory, IsAnsweredByAClusterAsByTheModel, ()) {
  const auto history = *histories();
  ThreeRelays relays;
  follow(history, relays);
}

}  // namespace
}  // namespace quillard::relayserver
