#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/network/Http.h"
#include "platform/process/Executors.h"
#include "relay/RelayLaunchConfiguration.h"
#include "relay/RelayTokenRegistration.h"
#include "values/Secret.h"

namespace quillard {

// What became of the registration, on the main thread. `onRegistered` or `onRevoked` comes once and is the last word;
// `onFailure` comes before each wait. Any of them may destroy the task.
struct RelayRegistrationEvents {
  std::function<void()> onRegistered;
  std::function<void()> onRevoked;
  std::function<void(const std::string& description)> onFailure;
};

// Makes the installation's token known to the relay, and tries again 3 s after each failure, without end and without
// growing delay. States: asking -> waiting -> asking ..., and over. Destroying it cancels: nothing is told afterwards.
// Main thread.
class RelayRegistrationTask {
 public:
  // `httpSessions` and `mainThread` outlive the task. The first request is sent in a later turn.
  RelayRegistrationTask(RelayLaunchConfiguration configuration, Secret relaySecret,
                        platform::HttpSessions& httpSessions, platform::SerialExecutor& mainThread,
                        RelayRegistrationEvents events);
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
  const RelayRegistrationEvents events;
  std::unique_ptr<platform::HttpSession> session;  // A fresh one for each attempt.
  platform::TaskHandle nextAttempt;
  std::shared_ptr<bool> life = std::make_shared<bool>(true);  // Watched by answers that are under way.
};

}  // namespace quillard
