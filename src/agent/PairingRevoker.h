#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "foundation/CallbackScope.h"
#include "platform/network/WebSocket.h"
#include "platform/process/Clock.h"
#include "platform/process/Console.h"
#include "platform/process/Executors.h"
#include "platform/process/Random.h"
#include "platform/storage/UserDefaults.h"
#include "relay/ClockStamp.h"
#include "relay/PendingRevocations.h"
#include "relay/RelayClient.h"
#include "values/Time.h"

namespace quillard {

// All of it outlives the revoker.
struct PairingRevokerDependencies {
  platform::UserDefaults& userDefaults;
  platform::Executors& executors;
  platform::WebSockets& webSockets;
  platform::Clock& clock;
  platform::Random& random;
  platform::Console& console;
  const StampClock& stampClock;
};

// Sees to it that the relay learns of each pairing that was given up: it connects as that pairing's computer, and asks
// for the revocation where it is let in. That a request was sent proves nothing, as a link that has just gone takes it,
// too: a revocation is kept until the relay calls the pairing revoked, or has not known it for hours, since a relay
// that was restored from a backup, or is behind the others of its cluster, may know it again. One pairing at a time; an
// attempt takes 20 s at most, and the next one follows after a minute, then after twice as long each time, an hour at
// most. What is left is tried in the next run. A relay that is gone for good is tried for some months.
//
// States: idle -> trying -> waiting -> trying ..., and idle; stopped. Nothing is made while nothing is to be told. Main
// thread.
class PairingRevoker {
 public:
  explicit PairingRevoker(const PairingRevokerDependencies& dependencies);
  ~PairingRevoker();
  PairingRevoker(const PairingRevoker&) = delete;
  PairingRevoker& operator=(const PairingRevoker&) = delete;

  // Begins with what earlier runs left.
  void start();
  // Keeps it, from now on and from run to run.
  void keep(const UnsentRevocation& revocation);
  // Begins in a few seconds: the request is on its way to the relay, or there is no connection at present.
  void startSoon();
  // In place of `start`, for a program that ends soon: each is tried once, one right after the other, and for
  // `attemptTimeout` at most. What is left is kept for a later run.
  void tryEachOnce(Seconds attemptTimeout);
  // Whether `tryEachOnce` has come to its end.
  [[nodiscard]] bool hasTriedEach() const { return triesLeft == 0U; }
  // Whether the pairing of this identifier is to be revoked.
  [[nodiscard]] bool isKept(const std::string& identifier) const;
  [[nodiscard]] bool isIdle() const { return pending.all().empty(); }
  void stop();

 private:
  void attempt();
  [[nodiscard]] RelayClientCallbacks clientCallbacks();
  void connectionChanged(bool isConnected);
  enum class End {
    over,     // The relay knows.
    refused,  // It does not know the pairing.
    failed,   // It could not be reached, or was asked just now.
  };
  void ended(End end);
  [[nodiscard]] bool putBack(bool isRefused);
  void letGoOfClient();

  [[nodiscard]] bool wasLastTry();

  const PairingRevokerDependencies dependencies;
  PendingRevocations pending;
  Seconds attemptTimeout;
  std::optional<std::size_t> triesLeft;  // Absent: each is tried until the relay knows.
  bool isStopped = false;
  bool hasAsked = false;  // On the present connection of this attempt's client.
  Seconds nextDelay;
  Seconds lastDelay{};                              // Before the attempt under way; zero at the start.
  std::string pairingID;                            // Of the attempt under way.
  std::unique_ptr<platform::SerialExecutor> queue;  // Present once something was to be told.
  std::unique_ptr<RelayClient> client;              // Present during an attempt.
  platform::TaskHandle nextStep;                    // The end of the attempt, or the beginning of the next one.
  CallbackScope scope;                              // Last.
};

}  // namespace quillard
