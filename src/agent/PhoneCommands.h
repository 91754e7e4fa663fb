#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "agent/PhonePairings.h"
#include "channel/ChannelServer.h"
#include "platform/process/Executors.h"
#include "values/Secret.h"

namespace quillard {

// What the commands act on. None is empty.
struct PhoneCommandActions {
  std::function<std::vector<PairedPhone>()> phones;
  std::function<std::vector<int>()> pairings;  // All, also where no phone is known to have joined.
  std::function<void(int pairing)> unpair;
  std::function<void()> unpairAll;
  // Offers a code for one more phone, or the one that is offered already. Absent: none can be offered now.
  std::function<std::optional<Secret>()> offer = [] { return std::optional<Secret>{}; };
};

// The list of phones, their unpairing, and the code for one more, for other programs of this user, over the channel:
// "phones", "unpair" and "pairAnother". Unpairing is answered once the pairings are forgotten here; a relay that could
// not be told of it is told later. Main thread.
class PhoneCommands {
 public:
  // `mainThread` outlives this.
  PhoneCommands(PhoneCommandActions actions, platform::SerialExecutor& mainThread)
      : actions(std::move(actions)), mainThread(mainThread) {}

  // Adds them to `server`, which is stopped before this is destroyed.
  void addTo(ChannelServer& server);

  // A pairing was given up, by whoever wanted it. Its identity may be deleted later in the same turn.
  void pairingForgotten(int pairing);

 private:
  // Who waits for pairings to be forgotten.
  struct Waiter {
    std::weak_ptr<ChannelSession> session;
    std::set<int> pairings;  // Those that are not forgotten yet.
    std::string answer;
  };

  void pairAnother(const std::shared_ptr<ChannelSession>& session);
  void unpair(const std::shared_ptr<ChannelSession>& session, JsonReader& reader);
  void answerWaiters();

  const PhoneCommandActions actions;
  platform::SerialExecutor& mainThread;
  std::vector<Waiter> waiters;
  platform::TaskHandle answering;
};

// The members of the answer "phones".
[[nodiscard]] Json phonesJson(const std::vector<PairedPhone>& phones);

}  // namespace quillard
