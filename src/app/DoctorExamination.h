#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "agent/configuration/ConfiguredTransports.h"
#include "app/DoctorFacts.h"
#include "app/Program.h"
#include "platform/Platform.h"
#include "relay/PairingConfiguration.h"

namespace quillard::app {

// Finds out all that `DoctorFacts` has a place for, and changes as little as reading can: an identity is not made, and
// the relay is told of one that is there already, as at each start of the agent. Main thread.
class DoctorExamination {
 public:
  // What `platform` refers to, `pairing` and what `traits` refer to outlive this.
  DoctorExamination(const platform::Platform& platform, PairingConfiguration& pairing, DoctorTraits traits)
      : platform(platform),
        transports(platform.httpSessions, platform.webSockets, {platform.environment, &platform.userDefaults}),
        pairing(pairing),
        traits(traits) {}

  // `onDone` comes once, on the main thread, after some seconds at the longest; not when this has gone.
  void start(std::function<void(const DoctorFacts&)> onDone);

 private:
  void checkSystem();
  void checkKeychain();
  void checkLock();
  void askForNotifications();
  void checkRelay();
  void askWhetherRelayIsThere();
  void askWhetherRelayKnowsUs();
  void relayFound(RelayReach reach, std::string text = {});
  void oneMoreDone();

  const platform::Platform platform;
  ConfiguredTransports transports;
  PairingConfiguration& pairing;
  const DoctorTraits traits;
  DoctorFacts facts;
  std::function<void(const DoctorFacts&)> onDone;
  int openQuestions = 0;
  std::unique_ptr<platform::HttpSession> session;
  std::shared_ptr<const bool> life = std::make_shared<const bool>(true);  // What comes when it has gone is dropped.
};

}  // namespace quillard::app
