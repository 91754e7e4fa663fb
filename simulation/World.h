#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "simulation/Faults.h"
#include "simulation/Stage.h"
#include "values/Time.h"

namespace quillard::simulation {

struct WorldOptions {
  std::uint64_t seed = 1;
  // How long things go wrong, in the world's own time. A quiet time follows.
  Seconds length{120};
  Stage::TraceLine trace{};  // Empty: none is written.
  // Programs ask over the channel. The same seed lives another world then, since the agent draws identities for them.
  bool programsAsk = false;
};

struct WorldOutcome {
  std::optional<std::string> broken;  // The first invariant that broke, with its time. Absent: all of them held.
  FaultCounts faults;
  std::map<std::string, std::size_t> answers;  // By status.
  std::size_t presses = 0;                     // By the agent.
  std::size_t decisions = 0;
  std::size_t incompleteLists = 0;                 // That the agent sent, and said so.
  std::map<std::string, std::size_t> questions{};  // How those of programs ended.
};

// Lives one world through: a desktop, an agent, a relay and phones, all from one seed and in one process, in virtual
// time. The same options live the same world, event by event.
[[nodiscard]] WorldOutcome live(const WorldOptions& options);

}  // namespace quillard::simulation
