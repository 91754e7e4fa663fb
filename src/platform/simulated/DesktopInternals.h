#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "platform/simulated/DesktopActions.h"
#include "platform/simulated/DesktopState.h"
#include "platform/simulated/RequestGate.h"
#include "platform/simulated/SimulatedAccessibility.h"
#include "platform/simulated/SimulatedWindowList.h"
#include "platform/simulated/SimulatedWorkspace.h"

namespace quillard::platform::simulated {

// The parts that a desktop is made of.
class DesktopInternals {
 public:
  DesktopInternals(SimulatedDesktop& desktop, Clock& clock, Executors& executors)
      : state(executors.mainThread()),
        gate(clock, state),
        actions(desktop, clock, state),
        accessibility(desktop, executors, state, gate, actions),
        workspace(desktop, state),
        windowList(state),
        elsewhere(executors.makeSerialQueue("simulated desktop", QualityOfService::standard)) {}

  // As `SimulatedDesktop::later`.
  void later(Seconds delay, Turn turn) {
    const std::uint64_t id = nextTask++;
    tasks[id] = elsewhere->postAfter(delay, [this, id, turn = std::move(turn)] {
      turn();
      tasks.erase(id);
    });
  }

  DesktopState state;
  RequestGate gate;
  DesktopActions actions;
  SimulatedAccessibility accessibility;
  SimulatedWorkspace workspace;
  SimulatedWindowList windowList;

 private:
  std::unique_ptr<SerialExecutor> elsewhere;  // Where other processes act by themselves.
  std::map<std::uint64_t, TaskHandle> tasks;  // Those ahead.
  std::uint64_t nextTask = 0;
};

}  // namespace quillard::platform::simulated
