#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "agent/AppDelegate.h"
#include "simulation/Chance.h"
#include "simulation/Stage.h"

namespace quillard::simulation {

// The agent as a process of the machine: it starts, is killed, and starts again on what it had stored; and the person
// at the computer, as far as menus and buttons go.
//
// A killed process cannot be torn out of its turns. It is cut off instead: from the instant of its death nothing that
// it does reaches the desktop, the relay, the settings or the keychain, and what is left of it is destroyed before the
// next one starts. Seen from outside it is dead.
class AgentProcess {
 public:
  AgentProcess(Stage& stage, std::uint64_t seed);
  ~AgentProcess() = default;
  AgentProcess(const AgentProcess&) = delete;
  AgentProcess& operator=(const AgentProcess&) = delete;

  // From outside any turn, as are the next three.
  void start();
  // Ends it as the system does when the user quits.
  void quit();
  // Ends it, however it is, while everything around it is still there. Nothing else is to be called afterwards.
  void end();
  // What is left of a killed one goes. Nothing when none was killed.
  void bury();
  [[nodiscard]] bool isDead() const { return hasBeenKilled; }
  [[nodiscard]] bool isRunning() const { return agent != nullptr && !hasBeenKilled; }
  // When it last started.
  [[nodiscard]] Seconds startedAt() const { return startTime; }
  // It takes leave of everybody, and has not ended yet.
  [[nodiscard]] bool isQuitting() const { return quits; }

  // From anywhere, also from inside a request of the agent. `cutOff`: takes its connections away.
  void kill(const std::function<void()>& cutOff);
  // At the request to the desktop that is the `number`th from now.
  void killAtRequest(int number, std::function<void()> cutOff);

  // Called when it is killed, at that instant.
  void setOnKilled(std::function<void()> handler) { onKilled = std::move(handler); }

  void setPermission(bool isGranted, bool isNotified);
  [[nodiscard]] bool hasPermission() const { return isTrusted; }

  // ---- The disk and the keychain.
  // What is written from now on is lost when the process ends, until there is room again.
  void fillDisk();
  void freeDisk();
  void lockKeychain();
  void refuseKeychainWrites();
  void unlockKeychain();
  [[nodiscard]] bool isKeychainOpen() const { return keychainIsOpen; }
  // Whether it could not read the keychain when it started: then it may live, until it ends, with an identity that no
  // phone was paired with, where the disk had no room for the newer one either.
  [[nodiscard]] bool isWithoutKeychain() const { return startedWithLockedKeychain; }

  // ---- The person at the computer.
  void pause();
  void resume();
  void resetPairing();
  // Whether the window says that the relay calls the pairing revoked.
  [[nodiscard]] bool showsRevokedPairing();
  [[nodiscard]] bool isPaused() const { return paused; }
  // The pause ended while the disk was full: one that is started anew may know nothing of that.
  [[nodiscard]] bool mayStartPaused() const { return pauseEndWasLost; }

 private:
  using Settings = std::map<std::string, platform::UserDefaultsValue>;

  [[nodiscard]] Settings settings() const;
  void restore(const Settings& before);
  void destroy();
  void onMainThread(const std::function<void(AppDelegate&)>& act);

  Stage& stage;
  Chance chance;
  std::shared_ptr<AppDelegate> agent;
  std::function<void()> onKilled;  // Empty: nobody asks.
  bool hasBeenKilled = false;
  bool quits = false;
  bool pauseEndWasLost = false;
  bool isTrusted = true;
  bool keychainIsOpen = true;
  bool startedWithLockedKeychain = false;
  bool paused = false;
  Seconds startTime{0};
  std::optional<Settings> onDisk;  // While the disk is full: what is really on it.
  std::optional<Settings> atDeath;
};

}  // namespace quillard::simulation
