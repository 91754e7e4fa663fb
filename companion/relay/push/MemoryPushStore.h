#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "companion/relay/push/PushStore.h"

namespace quillard::relayserver {

// A fake for tests, which can be made to fail. Every pairing counts as kept.
class MemoryPushStore final : public PushStore {
 public:
  std::optional<std::string> pushSecret() override {
    check();
    return secret;
  }
  void offerPushSecret(const std::string& offered) override {
    check();
    if (!secret) secret = offered;
  }
  std::vector<PushSubscription> pushSubscriptions(const std::string& pairingID) override {
    check();
    return subscriptions[pairingID];
  }
  void keepPushSubscription(const std::string& pairingID, const PushSubscription& subscription,
                            std::size_t most) override {
    check();
    ++writes;
    auto& all = subscriptions[pairingID];
    std::erase_if(all, [&](const PushSubscription& one) { return one.deviceID == subscription.deviceID; });
    all.push_back(subscription);
    if (all.size() > most) all.erase(all.begin());
  }
  [[nodiscard]] std::size_t subscriptionBytes() const override {
    std::size_t sum = 0;
    for (const auto& [pairingID, all] : subscriptions) {
      for (const auto& one : all) sum += one.bytes();
    }
    return sum;
  }
  void erasePushSubscriptions(const std::string& pairingID, const std::string& deviceID) override {
    check();
    std::erase_if(subscriptions[pairingID],
                  [&](const PushSubscription& one) { return deviceID.empty() || one.deviceID == deviceID; });
  }

  void whenKept(const std::string& pairingID, const std::string& deviceID, std::function<void(bool)> done) override {
    if (!takesTime) return PushStore::whenKept(pairingID, deviceID, std::move(done));
    waiting.push_back(std::move(done));
  }

  bool takesTime = false;  // What is written is kept when `waiting` is called.
  std::vector<std::function<void(bool)>> waiting;
  bool fails = false;
  int writes = 0;
  std::optional<std::string> secret;
  std::map<std::string, std::vector<PushSubscription>> subscriptions;

 private:
  void check() const {
    if (fails) throw PairingStore::Failure{"disk gone"};
  }
};

}  // namespace quillard::relayserver
