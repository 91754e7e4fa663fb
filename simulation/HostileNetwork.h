#pragma once

#include <functional>
#include <string>

#include "simulation/Chance.h"
#include "simulation/Ledger.h"
#include "simulation/Stage.h"

namespace quillard::simulation {

// What lies between the relay and those who are connected to it: frames arrive late, in another order, more than once,
// under another name or not at all.
class HostileNetwork {
 public:
  // All of it outlives this.
  HostileNetwork(Stage& stage, Ledger& ledger, Chance& chance) : stage(stage), ledger(ledger), chance(chance) {}
  HostileNetwork(const HostileNetwork&) = delete;
  HostileNetwork& operator=(const HostileNetwork&) = delete;

  // Of a hundred frames, as many suffer something. Zero: it is reliable, and what it still held back is lost.
  void setHostility(int percent) { hostility = percent; }
  [[nodiscard]] int hostilityPercent() const { return hostility; }

  // Hands `deliver` the frame now or later, never, or more than once. `last`: when the line's newest honest frame
  // arrives, so that these stay in order.
  void send(const std::string& frame, Seconds& last, const std::function<void(const std::string&)>& deliver);

 private:
  [[nodiscard]] std::string renamed(const std::string& frame);

  Stage& stage;
  Ledger& ledger;
  Chance& chance;
  int hostility = 0;
};

}  // namespace quillard::simulation
