#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "companion/relay/push/MemoryPushStore.h"
#include "companion/relay/push/PushService.h"
#include "companion/relay/rules/RelayWorld.h"

namespace quillard::relayserver {

// For tests: push services that answer when they are told to.
class FakePushTransport final : public PushTransport {
 public:
  void post(PushRequest request, std::function<void(PushReply)> done) override {
    requests.push_back(std::move(request));
    waiting.push_back(std::move(done));
  }
  // The oldest request that was not answered.
  void answer(const PushReply& reply) {
    const auto done = std::move(waiting.front());
    waiting.erase(waiting.begin());
    done(reply);
  }
  void answer(int status) { answer(PushReply{.status = status}); }

  std::vector<PushRequest> requests;
  std::vector<std::function<void(PushReply)>> waiting;
};

inline const std::string kEndpoint = "https://push.example/send/secret-1";
inline const std::string kPushSecret(VapidKey::kSecretBytes, 'k');

// For tests: a relay that wakes phones, in virtual time.
class PushWorld {
 public:
  PushWorld() {
    service.attach(relay.rooms);
    service.tick(relay.now());
  }

  void run(Duration by) {
    constexpr std::chrono::milliseconds kStep{250};
    for (Duration done{}; done < by; done += kStep) {
      relay.run(kStep);
      service.tick(relay.now());
    }
  }
  // In kPairing, as the next.
  void subscribe(FakePeer& phone, const std::string& endpoint = kEndpoint) {
    relay.say(phone, subscription(endpoint, service.publicKey().value_or("none")));
  }
  static Json subscription(const std::string& endpoint, const std::string& key) {
    return {{"type", "push.subscribe"}, {"endpoint", endpoint}, {"key", key}, {"encryptedSubscription", sealed()}};
  }
  static std::string idOf(const std::string& deviceID, const std::string& endpoint = kEndpoint) {
    return pushSubscriptionID(kPairing, deviceID, endpoint);
  }
  // 103 bytes of zero.
  static Json push(const std::string& pushID, const std::string& deviceID = "A") {
    return {{"type", "push.send"},
            {"pushID", pushID},
            {"deviceID", deviceID},
            {"subscriptionID", idOf(deviceID)},
            {"body", std::string(136, 'A') + "AA=="},
            {"ttl", 300},
            {"urgency", "high"},
            {"topic", "abc"}};
  }
  // What the agent was told of a push: "accepted", "gone expired"; empty: nothing.
  static std::string resultOf(const FakePeer& agent, const std::string& pushID) {
    std::string all;
    for (const auto& result : agent.ofType("push.result")) {
      if (result["pushID"] != pushID) continue;
      all += (all.empty() ? "" : ", ") + result["status"].get<std::string>();
      if (result.contains("reason")) all += " " + result["reason"].get<std::string>();
    }
    return all;
  }

  MemoryPushStore store;
  FakePushTransport transport;
  PushLimits limits;
  RelayMetrics metrics;
  KeptLog log;
  PushService service{
      {store, transport, limits, metrics, log, [this] { return relay.now(); }, [] { return kPushSecret; }},
      hosts(),
      "mailto:operator@relay.example"};
  RelayWorld relay{RelayLimits{}, &service};

 private:
  static PushHosts hosts() {
    PushHosts hosts;
    (void)hosts.add("push.example");
    return hosts;
  }
};

}  // namespace quillard::relayserver
