#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/DoctorFacts.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/DesktopCapabilities.h"
#include "platform/network/Http.h"
#include "platform/process/Bundle.h"
#include "platform/process/Environment.h"
#include "platform/process/Executors.h"
#include "platform/process/LockFiles.h"
#include "platform/shell/LoginService.h"
#include "platform/shell/UserNotifications.h"
#include "platform/storage/SecretStore.h"
#include "relay/PairingConfiguration.h"

namespace quillard::app {

// What an examination looks at. All of it outlives the examination.
struct DoctorDependencies {
  platform::Accessibility& accessibility;
  platform::DesktopCapabilities& capabilities;
  const platform::Bundle& bundle;
  const platform::Environment& environment;
  platform::HttpSessions& httpSessions;
  platform::LockFiles& lockFiles;
  platform::LoginService& loginService;
  platform::SecretStore& secretStore;
  platform::UserNotifications* notifications;  // Null where the question would reach the user: it is not asked then.
  PairingConfiguration& pairing;
  platform::SerialExecutor& mainThread;
  bool isAskedAlone = true;  // As in the facts.
};

// Finds out all that `DoctorFacts` has a place for, and changes as little as looking can: an identity is not made, and
// the relay is told of one that is there already, as at each start of the agent. Main thread.
class DoctorExamination {
 public:
  explicit DoctorExamination(const DoctorDependencies& dependencies) : dependencies(dependencies) {}

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

  const DoctorDependencies dependencies;
  DoctorFacts facts;
  std::function<void(const DoctorFacts&)> onDone;
  int openQuestions = 0;
  std::unique_ptr<platform::HttpSession> session;
  std::shared_ptr<const bool> life = std::make_shared<const bool>(true);  // What comes when it has gone is dropped.
};

}  // namespace quillard::app
