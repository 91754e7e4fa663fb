#include "platform/simulated/SimulatedWorld.h"

namespace quillard::platform::simulated {

SimulatedWorld::SimulatedWorld(Seed seed)
    : virtualTime(seed), simulatedRandom(seed), simulatedDesktop(virtualTime, virtualTime) {}

SimulatedWorld::~SimulatedWorld() { virtualTime.shutDown(); }

}  // namespace quillard::platform::simulated
