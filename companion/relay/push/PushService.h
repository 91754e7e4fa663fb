#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "companion/relay/push/PushEndpoint.h"
#include "companion/relay/push/PushLimits.h"
#include "companion/relay/push/PushQueue.h"
#include "companion/relay/push/PushStore.h"
#include "companion/relay/push/PushTransport.h"
#include "companion/relay/push/VapidKey.h"
#include "companion/relay/rules/EventLog.h"
#include "companion/relay/rules/PairingRooms.h"
#include "companion/relay/rules/RelayMetrics.h"
#include "companion/relay/rules/RoomPush.h"

namespace quillard::relayserver {

// Wakes phones that sleep: keeps their subscriptions, posts what agents ask for, and tells them what became of it. Its
// log names no endpoint and no phone.
//
// Not thread-safe: the thread of the event loop.
class PushService final : public RoomPush {
 public:
  // All of it outlives the service, and the transport calls nothing back after the service is gone.
  struct Dependencies {
    PushStore& store;
    PushTransport& transport;
    const PushLimits& limits;
    RelayMetrics& metrics;
    EventLog& log;
    std::function<Moment()> now;
    std::function<std::string()> newSecret;  // See VapidKey.
  };
  // `contact`: see isPushContact.
  PushService(const Dependencies& dependencies, PushHosts hosts, std::string contact);

  // Before anything else: where results go.
  void attach(PairingRooms& attached) { rooms = &attached; }
  // Makes the key where there is none yet, and goes on with what waits. To be called a few times a second.
  void tick(Moment at);

  [[nodiscard]] std::optional<std::string> publicKey() const override;
  Answer subscribe(const std::string& pairingID, const std::string& deviceID, const PushSubscribeMessage& message,
                   Moment now) override;
  Answer unsubscribe(const std::string& pairingID, const std::string& deviceID, Moment now) override;
  [[nodiscard]] std::optional<List> list(const std::string& pairingID) override;
  [[nodiscard]] std::optional<std::string> send(const std::string& pairingID, PushSendMessage message,
                                                Moment now) override;
  void forget(const std::string& pairingID, const std::string& deviceID) override;

  [[nodiscard]] std::size_t queued() const { return queue.size(); }

 private:
  void takeKey();
  void post(Moment at);
  // Whether what is kept now is still what it was encrypted for: another relay may have taken it away meanwhile.
  [[nodiscard]] bool isCurrent(const PushOrder& order);
  void postOne(const PushQueue::Start& start, Moment at);
  void didPost(std::uint64_t number, const std::string& origin, const PushReply& reply);
  void tell(const PushOutcome& outcome, Moment at);
  // `answer`, now or once the store has what was written; then the agent's list is another one.
  Answer whenKept(const std::string& pairingID, const std::string& deviceID, Answer answer);
  // Those that wait for this phone have no subscription any more.
  std::vector<std::string> endWaiting(const std::string& pairingID, const std::string& deviceID,
                                      std::string_view reason, Moment at);
  void count(const PushOutcome& outcome);
  // What the store keeps of it is otherwise from now on. False: it is not there any more.
  bool mark(const PushOutcome& outcome, PushSubscription::State state);
  std::optional<PushSubscription> find(const std::string& pairingID, const std::string& deviceID);
  std::string refuse(const std::string& pushID, const std::string& deviceID, PushStatus status,
                     std::string_view reason);
  // Absent: the store failed, which is in the log.
  template <class Work>
  auto withStore(Work work) -> std::optional<decltype(work())>;

  PushStore& store;
  PushTransport& transport;
  const PushLimits& limits;
  RelayMetrics& metrics;
  EventLog& log;
  const std::function<Moment()> now;
  const std::function<std::string()> newSecret;
  const PushHosts hosts;
  const std::string contact;
  PairingRooms* rooms = nullptr;
  std::optional<VapidTokens> tokens;
  PushQueue queue;
  NamedBuckets subscriptionRates;  // By pairing.
  Instant nextKey{};
  std::shared_ptr<PushService*> self = std::make_shared<PushService*>(this);  // Of what comes later. Last.
};

// What names a subscription towards the computer: says nothing of the endpoint, which cannot be guessed.
[[nodiscard]] std::string pushSubscriptionID(const std::string& pairingID, const std::string& deviceID,
                                             const std::string& endpoint);

}  // namespace quillard::relayserver
