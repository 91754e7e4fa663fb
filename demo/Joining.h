#pragma once

#include "demo/Demo.h"
#include "demo/EndSignals.h"

namespace quillard::demo {

// What ./run does while another one is up: adds what was asked for, and says so where nothing was. What to exit with.
int join(const RunningDemo& running, const Programs& programs, const Options& options, EndSignals& signals);

// Shows what the pairing code of the running agent holds, for pasting. What to exit with.
int showPairing(const RunningDemo& running, bool evenWithoutTerminal);

}  // namespace quillard::demo
