#pragma once

#include <string>

#include "platform/process/Executors.h"

namespace quillard::qt {

// Names the calling thread to debuggers, as far as the system keeps such names, and says how soon it should get a
// processor. Both are requests: refused, nothing changes.
void setThreadTraits(const std::string& label, platform::QualityOfService quality);

}  // namespace quillard::qt
