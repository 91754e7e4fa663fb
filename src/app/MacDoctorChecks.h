#pragma once

#include <vector>

#include "app/DoctorFacts.h"
#include "app/DoctorReport.h"

namespace quillard::app {

// What it means for the agent on a Mac, and what to do, in an order in which it is best mended.
[[nodiscard]] std::vector<DoctorCheck> macDoctorChecks(const DoctorFacts& facts);

}  // namespace quillard::app
