#pragma once

#include "app/DoctorFacts.h"
#include "app/DoctorReport.h"

// What means the same, and is mended in the same way, on every system.
namespace quillard::app {

[[nodiscard]] DoctorCheck installCheck(const DoctorFacts& facts);
[[nodiscard]] DoctorCheck relayCheck(const DoctorFacts& facts);
[[nodiscard]] DoctorCheck loginItemCheck(const DoctorFacts& facts);

}  // namespace quillard::app
