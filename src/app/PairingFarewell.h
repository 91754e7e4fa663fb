#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "agent/PairingRevoker.h"
#include "agent/configuration/ConfiguredTransports.h"
#include "app/SilentConsole.h"
#include "platform/Platform.h"
#include "platform/storage/UserDefaults.h"
#include "relay/ClockStamp.h"

namespace quillard::app {

// Has the relay revoke every pairing of this computer, also those that earlier runs could not tell it of. The settings
// remember what is still to be told, as an agent's do; nothing is deleted here. No agent runs meanwhile. Main thread.
class PairingFarewell {
 public:
  // How long the relay has for each pairing, one after another. One that answers needs some 3 s.
  static constexpr Seconds kTimeout{8};

  // What `platform` refers to, and the settings that are used in place of its own, outlive this.
  PairingFarewell(const platform::Platform& platform, platform::UserDefaults& settings);
  ~PairingFarewell();
  PairingFarewell(const PairingFarewell&) = delete;
  PairingFarewell& operator=(const PairingFarewell&) = delete;

  // `onDone` comes once, in a later turn, with how many pairings the relay could not be told of; those that may be
  // stored and cannot be read count as one. It does not come when this has gone. Call it once.
  void start(std::function<void(std::size_t)> onDone);

 private:
  void collect();
  void check();
  [[nodiscard]] std::size_t waiting() const;

  const platform::Platform platform;
  platform::UserDefaults& settings;
  ConfiguredTransports transports;
  SilentConsole silence;
  StampClock stampClock;
  std::function<void(std::size_t)> onDone;
  std::size_t unreachable = 0;  // No relay is configured that could be told of them, or they cannot be read.
  PairingRevoker revoker;
  platform::TaskHandle checks;
};

}  // namespace quillard::app
