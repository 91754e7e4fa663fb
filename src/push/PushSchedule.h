#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Uuid.h"
#include "relay/PushMessages.h"
#include "values/Time.h"

namespace quillard {

// A prompt that waits, as far as it matters when phones are woken.
struct WaitingPrompt {
  Uuid id;
  std::optional<Instant> endsAt{};  // It goes by itself then. Absent: not known.
};

// One phone of one pairing; `deviceID` is what it calls itself at the relay.
struct PushPhone {
  int pairing = 1;
  std::string deviceID;
  auto operator<=>(const PushPhone&) const = default;
};

// One push that is due, which counts as sent from then on.
struct PushPlan {
  PushPhone phone;
  std::string pushID;
  std::string subscriptionID;
  SubscriptionCommand command;
  std::vector<Uuid> prompts;  // Which ones it tells of, the oldest first. Empty: it is a test.
  std::size_t waiting = 0;    // How many wait, told or not.
  Seconds ttl{0};             // Whole.
};

// What became of the last push for a phone.
struct LastPush {
  std::string keyText;  // Of its subscription.
  PushStatus status = PushStatus::accepted;
  std::string reason{};
  std::optional<Date> acceptedAt{};  // When one was accepted last, by the wall clock. Absent: none ever was.
};

// When which phone is woken for which prompts.
//
// Of a prompt, a phone is: untold -> told, once a push for it was accepted; or shown, when the phone's page was there
// while it waited. Who was not told when the prompt went is told nothing. A phone is told once; a push that failed, or
// of which no result came, told it nothing; what a push told that was replaced goes with the one in its place. A page
// that goes to sleep or disappears may not have shown what came right before, which is untold again. One that only lost
// its connection has `kReturn` to come back, or `kReturnWithRelay` when the computer lost the relay itself.
//
// At most one push in `kInterval` for a phone: what has come meanwhile goes with the next. After a failure there are
// pauses. Takes time as a parameter, which never goes back; one thread.
class PushSchedule {
 public:
  static constexpr Seconds kInterval{10};
  static constexpr Seconds kTtl{900};
  static constexpr Seconds kShortestTtl{10};  // What ends sooner is not worth a push.
  static constexpr Seconds kReturn{5};
  static constexpr Seconds kReturnWithRelay{40};
  // Before a page said that it is hidden, and before a relay notices that a phone is gone.
  static constexpr Seconds kUnseenBeforeSleep{15};
  static constexpr Seconds kUnseenBeforeLoss{75};
  static constexpr Seconds kResultTimeout{960};
  static constexpr Seconds kFirstPause{30};
  static constexpr Seconds kLongestPause{600};
  // Of one phone: pushes without a result, a test aside. For another one, the oldest is given up.
  static constexpr std::size_t kMostUnderWay = 4;
  // So long a prompt waits before it is said that no phone is reached.
  static constexpr Seconds kReachTimeout{30};
  static constexpr std::size_t kMostPhones = 64;  // A phone that nothing is known of any more makes room.

  // `names`: makes the names of pushes differ from those of other runs.
  explicit PushSchedule(std::string names) : names(std::move(names)) {}

  // All that wait now, the oldest first; also while alerts are paused.
  void promptsAre(const std::vector<WaitingPrompt>& waiting, Instant now);
  // While alerts are paused, phones are told and shown nothing. What still waits afterwards is told then.
  void setPaused(bool isPausedNow, Instant now);
  // Whether pushes are sent at all. What waits meanwhile is told when they are again.
  void setEnabled(bool isEnabledNow) { isEnabled = isEnabledNow; }

  struct Presence {
    std::string deviceID;
    bool isAsleep = false;
  };
  // The phones of a pairing that are connected now.
  void phonesAre(int pairing, const std::vector<Presence>& present, Instant now);
  // The phones of a pairing that can be woken. Comes after `phonesAre` on each new connection, or not at all where
  // there is none: before it, nothing is sent.
  void subscriptionsAre(int pairing, const std::vector<PhoneSubscription>& subscriptions, Instant now);
  // There is no connection to the relay: nothing can be sent, and nothing is known of the phones.
  void relayLost(int pairing, Instant now);
  // The pairing is given up.
  void forget(int pairing);
  // `at`: the same moment by the wall clock.
  void pushEnded(int pairing, const PushResultRelayMessage& result, Instant now, Date at);

  // What is to be sent now.
  [[nodiscard]] std::vector<PushPlan> takeDue(Instant now);
  // When to ask again. Absent: not before something happens.
  [[nodiscard]] std::optional<Instant> nextDue(Instant now) const;
  // A test for this phone, whatever it knows. Absent: it cannot be woken, or had a test right before. One that fails
  // delays nothing else.
  [[nodiscard]] std::optional<PushPlan> takeTest(const PushPhone& phone, Instant now);

  // Whether a prompt has waited for `kReachTimeout` of which no phone knows or is about to know.
  [[nodiscard]] bool isNobodyReached(Instant now) const;
  // Whether a phone was told of this prompt, or has shown it. False of what does not wait any more.
  [[nodiscard]] bool isKnown(const Uuid& prompt) const;
  // Of this pairing's phones.
  [[nodiscard]] std::vector<LastPush> lastPushes(int pairing) const;
  // Phones that can be woken now.
  [[nodiscard]] std::size_t subscriptionCount() const;

 private:
  enum class Knows { nothing, told, shown };
  struct Knowledge {
    Knows knows = Knows::nothing;
    Instant since{};  // When it was there, or began to be shown.
  };
  struct UnderWay {
    std::string pushID;
    std::string subscriptionID;
    std::string keyText;
    std::vector<Uuid> prompts;
    Instant since;
    [[nodiscard]] bool isTest() const { return prompts.empty(); }
  };
  struct Phone {
    bool isConnected = false;
    bool isAsleep = true;
    Instant asleepFrom{};  // While it is not awake: it may still come back before.
    // Kept while there is no relay, so that the same one is known again, and its pauses with it.
    std::optional<PhoneSubscription> subscription;
    bool isConfirmed = false;  // The relay has named it on this connection: there is one, and it is as it was sealed.
    Instant nextPush{};        // By the rate.
    Instant pausedUntil{};     // After failures.
    Instant nextTest{};
    int failures = 0;  // In a row.
    bool isRelayConnected = false;
    std::map<Uuid, Knowledge> knowledge;  // Of what waits.
    std::vector<UnderWay> underWay;
    std::optional<LastPush> last;

    [[nodiscard]] bool isAwake() const { return isConnected && !isAsleep; }
    [[nodiscard]] Instant mayPushFrom() const;
    [[nodiscard]] bool isUnderWay(const Uuid& prompt) const;
    void makeRoom();
  };
  struct Prompt {
    Uuid id;
    std::optional<Instant> endsAt;
    Instant since;
  };

  Phone& phoneOf(const PushPhone& name, Instant now);
  void wake(Phone& phone, Instant now);
  // `unseen`: what came so shortly before, it has not shown.
  void fallAsleep(Phone& phone, Seconds unseen, Seconds returns, Instant now);
  void arrived(Phone& phone, const UnderWay& push, Instant now);
  void handOver(Phone& phone, const UnderWay& replaced);
  void fail(Phone& phone, Seconds pause, Instant now);
  void dropSubscription(Phone& phone);
  void endSilent(Phone& phone, Instant now);
  [[nodiscard]] bool waits(const Uuid& prompt) const;
  [[nodiscard]] bool canBeWoken(const Phone& phone) const;
  [[nodiscard]] std::vector<const Prompt*> untold(const Phone& phone, Instant now) const;
  [[nodiscard]] bool isReached(const Phone& phone, const Prompt& prompt, Instant now) const;
  PushPlan plan(const PushPhone& name, Phone& phone, const std::vector<const Prompt*>& prompts, Instant now);
  [[nodiscard]] Seconds ttlOf(const std::vector<const Prompt*>& prompts, Instant now) const;
  [[nodiscard]] std::string nextName();

  const std::string names;
  std::uint64_t count = 0;
  bool isEnabled = true;
  bool isPaused = false;
  std::vector<Prompt> prompts;
  std::map<PushPhone, Phone> phones;
};

}  // namespace quillard
