#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "simulation/AgentProcess.h"
#include "simulation/Chance.h"
#include "simulation/DesktopLife.h"
#include "simulation/HostileRelay.h"
#include "simulation/Judge.h"
#include "simulation/Phone.h"
#include "simulation/Stage.h"

namespace quillard::simulation {

// Whom something can happen to. All of them outlive the events.
struct WorldActors {
  platform::simulated::SimulatedWorld& simulated;
  Stage& stage;
  Chance& chance;
  DesktopLife& life;
  AgentProcess& process;
  Judge& judge;
  HostileRelay& relay;
  std::vector<std::unique_ptr<Phone>>& phones;
};

// What happens in a world, by chance: everyday life, breakdowns and disasters.
class WorldEvents {
 public:
  explicit WorldEvents(const WorldActors& actors);
  WorldEvents(const WorldEvents&) = delete;
  WorldEvents& operator=(const WorldEvents&) = delete;

  // `hostility`: of how many frames in a hundred the relay makes something else. `roughness`: 0, nothing breaks but
  // what is everyday life; up to 20, programs and connections break down; from 20 on, there are disasters, too.
  void setSeverity(int hostility, int roughness);
  [[nodiscard]] int roughness() const { return currentRoughness; }

  // One thing happens.
  void step();
  // Something happens just while a decision about this appearance is carried out.
  void disturb(std::size_t appearance);
  // The agent is asked to quit, and started again.
  void quit();
  // Whether a person has asked to reset the pairing since the last call. To be done outside of a request.
  [[nodiscard]] bool takeResetRequest() { return std::exchange(resetRequested, false); }

 private:
  void act(std::size_t kind);
  Phone& phone();
  void decideAgainstEachOther();
  void changeSpace();
  void reloadPage();
  void losePhone();
  void mute();
  void unmute();
  void replay();
  void pauseOrResume();
  void loseEvents(Seconds duration);
  void jump(Seconds by);
  void sleepMachine(Seconds duration);
  void revokePermission(Seconds duration);
  void givePermission(bool isNotified);
  void answerTrustLate(Seconds duration);
  void hideDesktop(Seconds duration, bool duringPress);
  void silenceTrust(Seconds duration);
  void cutOff();
  void kill();
  void killSoon();
  void fillDisk(Seconds duration);
  void lockKeychain(Seconds duration);
  void refuseKeychainWrites(Seconds duration);
  void resetPairing();
  void refuseAgent();

  platform::simulated::SimulatedWorld& simulated;
  Stage& stage;
  Chance& chance;
  DesktopLife& life;
  AgentProcess& process;
  Judge& judge;
  HostileRelay& relay;
  std::vector<std::unique_ptr<Phone>>& phones;
  int hostility = 0;
  int currentRoughness = 0;
  bool resetRequested = false;
  bool mayOpenHuge;  // Once: it takes long to read.
};

}  // namespace quillard::simulation
