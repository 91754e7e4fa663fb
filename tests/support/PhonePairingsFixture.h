#pragma once

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/AgentWorld.h"

namespace quillard {

// An agent whose first pairing has Ann's phone, and whose second one may get Ben's.
struct PhonePairingsTest : testing::Test {
  static constexpr platform::SecretPlace kKeyrings[] = {platform::SecretPlace::dataProtectionKeychain,
                                                        platform::SecretPlace::fileKeychain};

  void launchWithAnn() {
    world.launchAndPair();
    world.phone.comeOnline("Ann");
    world.advance(1);
  }
  void offer() {
    world.onMainThread([](AppDelegate& agent) { agent.pairAnotherPhone(); });
    world.advance(1);
  }
  void pairBen() {
    offer();
    ben.pair(2);
    ben.comeOnline("Ben");
    world.advance(1);
  }
  void unpair(int pairing) {
    world.onMainThread([pairing](AppDelegate& agent) { agent.unpair(pairing); });
    world.advance(1);
  }
  void quit() {
    world.onMainThread([](AppDelegate& agent) { agent.applicationWillTerminate(); });
    world.destroyAgent();
  }
  void launch() {
    world.agent.reset();
    world.launch();
    world.advance(3);
  }
  void lockKeyring() {
    const platform::SecretStatus locked{platform::SecretStatusCode::interactionNotAllowed, "It is locked."};
    for (const auto place : kKeyrings) world.world.secretStore().fail(place, locked);
  }
  void unlockKeyring() {
    for (const auto place : kKeyrings) world.world.secretStore().recover(place);
  }
  void restart() {
    quit();
    launch();
  }
  std::vector<std::string> phones() {
    std::vector<std::string> lines;
    for (const auto& phone : world.status().phones) {
      lines.push_back(std::to_string(phone.pairing) + " " + phone.name + (phone.isConnected ? "" : " (away)"));
    }
    return lines;
  }
  [[nodiscard]] std::string pairingID(int number) const {
    const auto secrets = samples::keptSecrets(world.world, number);
    return secrets ? secrets->pairingID : "";
  }
  // As this phone was told of it last. Absent: it was not.
  static std::optional<NewPhone> newPhone(samples::SimulatedPhone& told, const std::string& name) {
    for (const auto& phone : told.newPhones()) {
      if (phone.name == name) return phone;
    }
    return std::nullopt;
  }
  // What the window shows: a code, the code that is offered, or none.
  std::string code() {
    const auto status = world.status();
    if (status.isPairingOffered) return status.offeredPairingImage ? "offered" : "broken";
    return status.isPairingCodeUsed ? "covered" : "first";
  }

  samples::AgentWorld world;
  samples::SimulatedPhone ben{world.world, world.relay};
};

}  // namespace quillard
