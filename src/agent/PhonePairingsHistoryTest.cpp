#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "relay/PendingRevocations.h"
#include "support/AgentWorld.h"

// Phones come and go by several pairings, while the relay, the keyring and the agent do. What is taken back stays so.
namespace quillard {
namespace {

using platform::SecretPlace;
using samples::AgentWorld;
using samples::erasePrompt;
using samples::keptSecrets;
using samples::SimulatedPhone;

constexpr SecretPlace kPlaces[] = {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain};

enum class Step {
  offer,
  join,
  joinFirst,
  hide,
  unpair,
  unpairAll,
  relayGoes,
  relayComes,
  keyringLocks,
  keyringOpens,
  restart,
  die,  // Without a word, and start again.
  passTime,
};
constexpr int kSteps = static_cast<int>(Step::passTime) + 1;

// The agent, and beside it what a person would expect of it.
class History {
 public:
  History() {
    world.relay.wantComputerKeys();
    world.launch();
    world.advance(1);
    joinFirst();
    RC_ASSERT(paired.contains(1));
  }

  void act(Step step, int choice) {
    switch (step) {
      case Step::offer:
        onAgent([](AppDelegate& agent) { agent.pairAnotherPhone(); });
        break;
      case Step::join:
        join();
        break;
      case Step::joinFirst:
        joinFirst();
        break;
      case Step::hide:
        onAgent([](AppDelegate& agent) { agent.cancelPairing(); });
        break;
      case Step::unpair:
        unpair(1 + choice % PhonePairings::kMost);
        break;
      case Step::unpairAll:
        onAgent([](AppDelegate& agent) { agent.unpairPhoneFromStatusWindow(); });
        while (!paired.empty()) giveUp(paired.begin());
        break;
      case Step::relayGoes:
        world.relay.goDown();
        isRelayUp = false;
        break;
      case Step::relayComes:
        world.relay.comeUp();
        isRelayUp = true;
        break;
      case Step::keyringLocks:
        for (const auto place : kPlaces) {
          world.world.secretStore().fail(place, {platform::SecretStatusCode::interactionNotAllowed, "Locked."});
        }
        break;
      case Step::keyringOpens:
        for (const auto place : kPlaces) world.world.secretStore().recover(place);
        break;
      case Step::restart:
        restart();
        break;
      case Step::die:
        die();
        break;
      case Step::passTime:
        world.advance(650);
        break;
    }
    world.advance(1);
    expectNothingReturned();
  }

  // Everything works again, and what was put off is done.
  void settle() {
    act(Step::relayComes, 0);
    act(Step::keyringOpens, 0);
    act(Step::restart, 0);
    world.advance(1000);
    expectNothingReturned();
    const auto dialog = world.desktop().open(erasePrompt("Settled"));
    world.advance(5);
    for (auto& [number, pairing] : paired) {
      RC_ASSERT(pairing.phone->shownTitles() == std::vector<std::string>{"Settled"});
    }
    // Whoever scans the code now.
    SimulatedPhone latest{world.world, world.relay};
    latest.pair();
    const auto prompt = latest.shown().at(0).id;
    for (auto& phone : unpaired) {
      RC_ASSERT(phone->shownTitles() != std::vector<std::string>{"Settled"});
      RC_ASSERT(!phone->decide(prompt, "Erase"));
    }
    world.advance(5);
    RC_ASSERT(!world.desktop().pressed(dialog));
    RC_ASSERT(latest.decide(prompt, "Cancel").has_value());
    world.advance(5);
    RC_ASSERT(world.desktop().pressed(dialog) == "Cancel");
    // Those that this relay never heard of, as their keyring was locked, are tried in turn with them: one a start.
    for (std::size_t start = 0; start < PendingRevocations::kMost && !isEachRevoked(); ++start) {
      restart();
      world.advance(30);
    }
    RC_ASSERT(isEachRevoked());
  }

 private:
  struct Pairing {
    std::string pairingID;
    std::shared_ptr<SimulatedPhone> phone;
  };

  template <class Act>
  void onAgent(Act act) {
    world.onMainThread(act);
    world.advance(1);
  }
  [[nodiscard]] std::string identity(int number) {
    const auto secrets = keptSecrets(world.world, number);
    return secrets ? secrets->pairingID : "";
  }

  [[nodiscard]] bool isEachRevoked() const {
    const auto revoked = world.relay.revokedByAgents();
    return std::all_of(joinedAndGivenUp.begin(), joinedAndGivenUp.end(), [&](const auto& pairingID) {
      return std::find(revoked.begin(), revoked.end(), pairingID) != revoked.end();
    });
  }

  void join() {
    if (!world.status().isPairingOffered || !isRelayUp) return;
    for (int number = 2; number <= PhonePairings::kMost; ++number) {
      if (paired.contains(number) || identity(number).empty() || givenUp.contains(identity(number))) continue;
      auto phone = std::make_shared<SimulatedPhone>(world.world, world.relay);
      phone->pair(number);
      phone->comeOnline("Phone " + std::to_string(number));
      world.advance(1);
      if (world.status().isPairingOffered) continue;  // That code is not the one that is shown.
      paired[number] = {identity(number), phone};
      return;
    }
  }

  // By the code of the installation, which is shown while it has no phone.
  void joinFirst() {
    if (paired.contains(1) || !isRelayUp || identity(1).empty() || givenUp.contains(identity(1))) return;
    auto phone = std::make_shared<SimulatedPhone>(world.world, world.relay);
    phone->pair();
    phone->comeOnline("Phone 1");
    world.advance(1);
    if (world.status().isPairingCodeUsed) paired[1] = {identity(1), phone};
  }

  void unpair(int number) {
    const auto found = paired.find(number);
    if (found == paired.end()) return;
    onAgent([number](AppDelegate& agent) { agent.unpair(number); });
    giveUp(found);
  }
  void giveUp(std::map<int, Pairing>::iterator pairing) {
    givenUp.insert(pairing->second.pairingID);
    joinedAndGivenUp.insert(pairing->second.pairingID);
    unpaired.push_back(pairing->second.phone);
    paired.erase(pairing);
  }

  void restart() {
    world.onMainThread([](AppDelegate& agent) { agent.applicationWillTerminate(); });
    die();
  }
  void die() {
    world.destroyAgent();
    world.launch();
    world.advance(5);
  }

  void expectNothingReturned() {
    std::set<int> listed;
    for (const auto& phone : world.status().phones) listed.insert(phone.pairing);
    for (const int number : listed) RC_ASSERT(paired.contains(number));
    for (const auto& [number, pairing] : paired) {
      RC_ASSERT(listed.contains(number));
    }
  }

  AgentWorld world;
  bool isRelayUp = true;
  std::map<int, Pairing> paired;
  std::set<std::string> givenUp;
  std::set<std::string> joinedAndGivenUp;
  std::vector<std::shared_ptr<SimulatedPhone>> unpaired;
};

RC_GTEST_PROP(PhonePairingsHistory, WhatIsTakenBackStaysSoWhateverFails, ()) {
  const auto steps = *rc::gen::container<std::vector<std::pair<int, int>>>(
      rc::gen::pair(rc::gen::inRange(0, kSteps), rc::gen::inRange(0, 64)));
  History history;
  for (const auto& [step, choice] : steps) history.act(static_cast<Step>(step), choice);
  history.settle();
}

}  // namespace
}  // namespace quillard
