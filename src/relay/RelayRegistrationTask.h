#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/network/Http.h"
#include "platform/process/Executors.h"
#include "relay/RelayLaunchConfiguration.h"
#include "relay/RelayTokenRegistration.h"
#include "values/Secret.h"

namespace quillard {

// What became of the registration, on the main thread. `onFailure` comes before each wait; one of the others comes once
// and is the last word. Any of them may destroy the task.
struct RelayRegistrationEvents {
  std::function<void()> onRegistered;
  std::function<void()> onRevoked;
  // The relay knows the pairing's computer by another key.
  std::function<void()> onOtherComputer = [] {};
  // The relay wants a key by which it knows the computer, and an empty one was shown. May be empty where none is.
  std::function<void()> onComputerKeyWanted;
  std::function<void(const std::string& description)> onFailure;
};

// Makes the installation's token known to the relay, and tries again 3 s after each failure, without end and without
// growing delay. States: asking -> waiting -> asking ..., and over. Destroying it cancels: nothing is told afterwards.
// Main thread.
class RelayRegistrationTask {
 public:
  // `httpSessions` and `mainThread` outlive the task. The first request is sent in a later turn.
  // `computerKey`: see `registerRelayAuthToken`.
  RelayRegistrationTask(RelayLaunchConfiguration configuration, Secret relaySecret,
                        platform::HttpSessions& httpSessions, platform::SerialExecutor& mainThread,
                        RelayRegistrationEvents events, std::optional<Secret> computerKey = std::nullopt);
  ~RelayRegistrationTask();
  RelayRegistrationTask(const RelayRegistrationTask&) = delete;
  RelayRegistrationTask& operator=(const RelayRegistrationTask&) = delete;

 private:
  void ask();
  void answered(const RelayRegistrationOutcome& outcome);
  void letGoOfSession();

  const RelayLaunchConfiguration configuration;
  const Secret relaySecret;
  platform::HttpSessions& httpSessions;
  platform::SerialExecutor& mainThread;
  const std::optional<Secret> computerKey;
  const RelayRegistrationEvents events;
  std::unique_ptr<platform::HttpSession> session;  // A fresh one for each attempt.
  platform::TaskHandle nextAttempt;
  std::shared_ptr<bool> life = std::make_shared<bool>(true);  // Watched by answers that are under way.
};

}  // namespace quillard
