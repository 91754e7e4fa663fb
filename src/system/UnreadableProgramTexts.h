#pragma once

#include <string>
#include <vector>

#include "foundation/UserTexts.h"
#include "platform/desktop/DesktopCapabilities.h"

// What is said of programs that cannot be read. Functions of their arguments; any thread.
namespace quillard::UnreadableProgramTexts {

// "3 programs cannot be read": each name counts once.
[[nodiscard]] std::string count(const std::vector<platform::UnreadableProgram>& programs, const UserTexts& say = {});

// Each remedy once, behind the names of the programs that it helps. A program of which nothing is known to help may be
// of the kind that looks only once. Empty: no program.
[[nodiscard]] std::string remedies(const std::vector<platform::UnreadableProgram>& programs, const UserTexts& say = {});

}  // namespace quillard::UnreadableProgramTexts
