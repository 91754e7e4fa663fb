#pragma once

#include "platform/Time.h"
#include "platform/simulated/Seed.h"
#include "platform/simulated/SimulatedCalendar.h"
#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard::platform::simulated {

// Everything that an agent meets, made from one seed: what runs twice from the same seed runs the same.
//
// Destroy the agent under test first. Turns that are still asleep when the world ends are unwound while all of it is
// still there.
class SimulatedWorld {
 public:
  explicit SimulatedWorld(Seed seed);
  ~SimulatedWorld();
  SimulatedWorld(const SimulatedWorld&) = delete;
  SimulatedWorld& operator=(const SimulatedWorld&) = delete;

  // Lets this much time pass, with all that happens in it.
  void advance(Seconds duration) { virtualTime.advance(duration); }

  VirtualTime& time() { return virtualTime; }
  SimulatedRandom& random() { return simulatedRandom; }
  SimulatedEnvironment& environment() { return simulatedEnvironment; }
  SimulatedConsole& console() { return simulatedConsole; }
  SimulatedUserDefaults& userDefaults() { return simulatedUserDefaults; }
  SimulatedCalendar& calendar() { return simulatedCalendar; }
  SimulatedDesktop& desktop() { return simulatedDesktop; }
  Accessibility& accessibility() { return simulatedDesktop.accessibility(); }
  Workspace& workspace() { return simulatedDesktop.workspace(); }
  WindowList& windowList() { return simulatedDesktop.windowList(); }

 private:
  VirtualTime virtualTime;  // First, since the others may hold queues of it.
  SimulatedRandom simulatedRandom;
  SimulatedEnvironment simulatedEnvironment;
  SimulatedConsole simulatedConsole;
  SimulatedUserDefaults simulatedUserDefaults;
  SimulatedCalendar simulatedCalendar;
  SimulatedDesktop simulatedDesktop;
};

}  // namespace quillard::platform::simulated
