#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "agent/configuration/ConfiguredTransports.h"
#include "app/SilentConsole.h"
#include "platform/Platform.h"
#include "relay/ClockStamp.h"
#include "relay/RelayClient.h"
#include "relay/RelayLaunchConfiguration.h"
#include "relay/RelayTokenRegistration.h"

namespace quillard::app {

// Tries a relay as the agent would use it: registers a pairing, connects as its computer, and has the relay forget the
// pairing. The pairing is made up for this and knows no phone; the one of this computer is left alone, so that an agent
// that runs keeps its connection. Main thread.
class RelayTrial {
 public:
  // What `platform` refers to outlives this.
  explicit RelayTrial(const platform::Platform& platform);
  ~RelayTrial();
  RelayTrial(const RelayTrial&) = delete;
  RelayTrial& operator=(const RelayTrial&) = delete;

  // How long the relay has for the connection, once it has the pairing.
  static constexpr Seconds kConnectTimeout{10};
  // How long it has to forget the pairing. The client connects again after 3 s, and is told then that it is unknown.
  static constexpr Seconds kForgetTimeout{5};

  // `configuration`: the identifier in it is not used. `onStep`: a line for people, as each step is done; ends in no
  // line break. `onDone` comes once, in a later turn, with whether everything went well; neither comes when this has
  // gone. Call it once.
  void start(const RelayLaunchConfiguration& configuration, std::function<void(const std::string&)> onStep,
             std::function<void(bool)> onDone);

 private:
  void sayWhoMayVouch();
  void registered(const RelayRegistrationOutcome& failure);
  void connect();
  void connected();
  void refused(RelayRefusal refusal);
  void end(bool isWell);

  const platform::Platform platform;
  ConfiguredTransports transports;
  SilentConsole silence;  // The steps say what there is to say.
  StampClock stampClock;
  RelayLaunchConfiguration trial;  // With the identifier that is made up.
  Secret token;
  Secret endToEndSecret;
  std::string socketURL;
  std::function<void(const std::string&)> onStep;
  std::function<void(bool)> onDone;
  bool wasConnected = false;
  std::unique_ptr<platform::HttpSession> session;
  std::unique_ptr<platform::SerialExecutor> queue;
  std::unique_ptr<RelayClient> client;  // After the queue, which outlives it.
  platform::TaskHandle deadline;
  std::shared_ptr<const bool> life = std::make_shared<const bool>(true);  // What comes when it has gone is dropped.
};

}  // namespace quillard::app
