#pragma once

#include "tryout/EndSignals.h"
#include "tryout/Tryout.h"

namespace quillard::tryout {

// What ./run does while another one is up: adds what was asked for, and says so where nothing was. What to exit with.
int join(const Road& road, const Programs& programs, const Wishes& wishes, EndSignals& signals);

// Shows what the code of the road's agent holds, for pasting. What to exit with.
int showPairing(const Road& road, bool evenWithoutTerminal);

}  // namespace quillard::tryout
