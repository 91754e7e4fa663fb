#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "agent/PhonePairings.h"
#include "channel/ChannelServer.h"
#include "platform/process/Executors.h"

namespace quillard {

// What the commands act on. None is empty.
struct PhoneCommandActions {
  std::function<std::vector<PairedPhone>()> phones;
  std::function<void(int pairing)> unpair;
  std::function<void()> unpairAll;
};

// The list of phones and their unpairing, for other programs of this user, over the channel: "phones" and "unpair". The
// latter is answered once the pairings are forgotten here; a relay that could not be told of it is told later. Main
// thread.
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
