#pragma once

#include "demo/EndSignals.h"
#include "demo/Demo.h"

namespace quillard::demo {

// What ./run does while another one is up: adds what was asked for, and says so where nothing was. What to exit with.
int join(const Road& road, const Programs& programs, const Options& options, EndSignals& signals);

// Shows what the code of the road's agent holds, for pasting. What to exit with.
int showPairing(const Road& road, bool evenWithoutTerminal);

}  // namespace quillard::demo
