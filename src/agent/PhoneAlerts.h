#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "agent/SubscriptionSequences.h"
#include "approvals/PendingApproval.h"
#include "foundation/CallbackScope.h"
#include "platform/process/Clock.h"
#include "platform/process/Console.h"
#include "platform/process/Executors.h"
#include "platform/storage/UserDefaults.h"
#include "push/PushSchedule.h"
#include "push/PushText.h"
#include "relay/ClockStamp.h"
#include "relay/PhoneReports.h"
#include "relay/PushMessages.h"
#include "relay/RelayStatus.h"

namespace quillard {

// All of it outlives the alerts.
struct PhoneAlertsDependencies {
  const platform::Clock& clock;
  platform::SerialExecutor& mainThread;
  const StampClock& stampClock;
  platform::UserDefaults& userDefaults;
  platform::Console& console;
};

// What the alerts ask and do, on the main thread. None is empty.
struct PhoneAlertsActions {
  std::function<std::vector<PendingApproval>()> waiting;     // What phones are shown, paused or not; the oldest first.
  std::function<std::optional<Instant>(const Uuid&)> endOf;  // When a question goes by itself. Absent: not known.
  std::function<bool()> isPaused;
  std::function<bool()> isEnabled;   // By the user's choice.
  std::function<bool()> showsTexts;  // The same: whether an alert may say who asks and what.
  std::function<bool()> isAnyPaired;
  std::function<bool(const PushPlan&, const PushContents&)> publish;  // False: it cannot be sent.
  std::function<void(int pairing)> tellPhones;                        // What `reports` says has changed.
  std::function<void(bool isNobodyReached)> onReachChanged;
};

// Wakes phones for prompts that wait, and knows when nobody can be reached. The rules are those of PushSchedule; this
// gives them a clock and a timer, and says what a push is about. Nothing is drawn and no timer runs as long as no phone
// can be woken. Main thread.
class PhoneAlerts {
 public:
  PhoneAlerts(const PhoneAlertsDependencies& dependencies, PhoneAlertsActions actions);
  PhoneAlerts(const PhoneAlerts&) = delete;
  PhoneAlerts& operator=(const PhoneAlerts&) = delete;

  // What waits, the pause or a setting may be another.
  void update();
  void phonesChanged(int pairing, const RelayConnectionStatus& status);
  void subscriptionsChanged(int pairing, const std::vector<PhoneSubscription>& subscriptions);
  void pushEnded(int pairing, const PushResultRelayMessage& result);
  void pairingForgotten(int pairing);
  // A phone wants to be sent one.
  void test(int pairing, const std::string& deviceID);
  // To be called every few seconds: time alone changes who is reached.
  void poll();
  // Nothing is sent or reported afterwards.
  void stop();

  [[nodiscard]] std::vector<PushReport> reports(int pairing) const;
  // How many phones can be woken now; 0 where the user has switched that off.
  [[nodiscard]] std::size_t wakeablePhones() const { return actions.isEnabled() ? schedule.subscriptionCount() : 0; }
  // A prompt waits, and no phone was or can be told.
  [[nodiscard]] bool isNobodyReached() const { return nobodyReached; }
  // Whether a phone was told of this prompt, which waits, or has shown it.
  [[nodiscard]] bool isKnown(const Uuid& prompt) const { return schedule.isKnown(prompt); }

 private:
  [[nodiscard]] bool isNewest(int pairing, const SubscriptionCommand& command);
  void send();
  void publish(const PushPlan& plan);
  [[nodiscard]] PushContents contentsOf(const PushPlan& plan) const;

  const PhoneAlertsDependencies dependencies;
  const PhoneAlertsActions actions;
  PushSchedule schedule;
  SubscriptionSequences sequences;
  std::vector<PendingApproval> waiting;
  bool nobodyReached = false;
  bool isStopped = false;
  platform::TaskHandle timer;  // Present while something is due later.
  CallbackScope scope;         // Last.
};

}  // namespace quillard
