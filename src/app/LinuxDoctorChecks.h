#pragma once

#include <vector>

#include "app/DoctorFacts.h"
#include "app/DoctorReport.h"

namespace quillard::app {

// What it means for the agent on Linux, and what to do: one check for each thing, in an order in which they are best
// mended.
[[nodiscard]] std::vector<DoctorCheck> linuxDoctorChecks(const DoctorFacts& facts);

}  // namespace quillard::app
