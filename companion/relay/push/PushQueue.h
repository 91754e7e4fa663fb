#pragma once

#include <chrono>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "companion/relay/push/PushEndpoint.h"
#include "companion/relay/push/PushLimits.h"
#include "companion/relay/push/PushTransport.h"
#include "companion/relay/rules/PushMessages.h"
#include "companion/relay/rules/RelayTime.h"

namespace quillard::relayserver {

// One push that an agent has asked for.
struct PushOrder {
  std::string pairingID;
  std::string address{};  // Where its agent is; empty: not known.
  std::string deviceID;
  std::string subscriptionID;
  std::string pushID;
  PushEndpoint endpoint;
  std::string body;
  std::chrono::seconds ttl{0};
  std::string urgency;
  std::string topic;  // Empty: none.
};

// What became of one.
struct PushOutcome {
  std::string pairingID;
  std::string deviceID;
  std::string subscriptionID;
  std::string pushID;
  PushStatus status = PushStatus::accepted;
  std::string_view reason;  // A constant; empty: there is none.
  Duration took{};          // Since it was asked for.
  bool operator==(const PushOutcome&) const = default;
};

// What an answer of a push service means.
enum class PushVerdict { accepted, expired, subscribeAnew, tooLarge, malformed, notAllowed, retry };
[[nodiscard]] PushVerdict judge(const PushReply& reply);

// The pushes that wait or are under way: which one is posted next, when one is tried again, and how each ends.
//
// States of a push: waiting -> posted -> ended, or waiting again. Of one subscription one is posted at a time, in their
// order. Where several could be, it is the turn of the address and of the pairing with the fewest under way, and of
// the next host: nobody's pushes wait for all of another's. A host that does not answer, or says that it cannot, is
// tried with one push at a time, after pauses; what waits for other hosts does not notice. Time comes in as a
// parameter. Not thread-safe: the thread of the event loop.
class PushQueue {
 public:
  // `limits` outlive it.
  explicit PushQueue(const PushLimits& limits);

  // What waits with the same topic for the same subscription makes room. `refused`: it was not taken, and why.
  struct Addition {
    std::string_view refused;  // A constant; empty: it was taken.
    std::optional<PushOutcome> replaced{};
  };
  Addition add(PushOrder order, Instant now);

  struct Start {
    std::uint64_t number = 0;
    const PushOrder* order = nullptr;  // Until the next change.
    std::chrono::seconds ttl{0};       // What is left of it.
  };
  // The next one to be posted now, which then counts as posted. Absent: there is none at present.
  [[nodiscard]] std::optional<Start> next(Instant now);
  // It was answered. Absent: it waits again, or its outcome concerns nobody any more.
  std::optional<PushOutcome> finish(std::uint64_t number, const PushReply& reply, Instant now);
  // What `next` gave is not to be posted, for that reason.
  std::optional<PushOutcome> cancel(std::uint64_t number, std::string_view reason, Instant now);
  // Those that have waited for too long. To be called a few times a second.
  [[nodiscard]] std::vector<PushOutcome> expire(Instant now);
  // Those that wait for this phone are gone, for that reason; what is under way goes on.
  [[nodiscard]] std::vector<PushOutcome> endWaiting(const std::string& pairingID, const std::string& deviceID,
                                                    std::string_view reason, Instant now);
  // Nobody wants to know what becomes of them. `deviceID` empty: all of the pairing.
  void forget(const std::string& pairingID, const std::string& deviceID);

  [[nodiscard]] std::size_t size() const { return entries.size(); }
  [[nodiscard]] std::size_t posted() const { return underWay; }

 private:
  struct Entry {
    std::uint64_t number = 0;
    PushOrder order;
    Instant since;
    Instant until;
    Instant notBefore;
    int attempts = 0;
    bool isPosted = false;
    bool wasRefused = false;  // 401 or 403: once more with a new token.
    bool isForgotten = false;
  };
  using Entries = std::list<Entry>;
  struct Host {
    Host(const Rate& rate, Instant now) : rate(rate, now) {}
    std::list<Entries::iterator> waiting;  // In their order.
    TokenBucket rate;
    std::size_t posted = 0;
    int failures = 0;  // In a row.
    Instant notBefore{};
  };

  Host& hostOf(const PushOrder& order, Instant now);
  [[nodiscard]] bool mayPost(const Host& host, Instant now) const;
  std::optional<Start> startNext(Host& host, Instant now);
  [[nodiscard]] bool isBusy(const PushOrder& order) const;
  [[nodiscard]] bool isFull(const PushOrder& order) const;
  void didEndPost(Entries::iterator entry, Host& host);
  std::optional<PushOutcome> replaceWaiting(const PushOrder& order, Instant now);
  void noteHost(Host& host, const PushReply& reply, Instant now);
  bool waitAgain(Entries::iterator entry, PushVerdict verdict, const PushReply& reply, Instant now);
  // Always true.
  bool wait(Entries::iterator entry, Instant notBefore);
  [[nodiscard]] Duration pauseAfter(int failures) const;
  PushOutcome end(Entries::iterator entry, PushStatus status, std::string_view reason, Instant now);
  void erase(Entries::iterator entry);

  const PushLimits& limits;
  NamedBuckets phones;
  NamedBuckets pairings;
  std::map<std::string, Host> hosts;  // By origin.
  Entries entries;                    // In the order in which they came.
  std::unordered_map<std::uint64_t, Entries::iterator> byNumber;
  // Of a pairing, or of an address.
  struct Share {
    std::size_t waiting = 0;  // Those under way included.
    std::size_t posted = 0;
  };
  [[nodiscard]] static Share shareOf(const std::unordered_map<std::string, Share>& shares, const std::string& name);
  static void release(std::unordered_map<std::string, Share>& shares, const std::string& name);
  std::unordered_map<std::string, Share> pairingShares;
  std::unordered_map<std::string, Share> addressShares;
  std::string lastHost;                                     // Whose turn it was.
  std::unordered_map<std::string, std::uint64_t> postedTo;  // By subscription.
  std::uint64_t numbers = 0;
  std::size_t underWay = 0;
};

}  // namespace quillard::relayserver
