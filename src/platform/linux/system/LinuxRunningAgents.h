#pragma once

#include "platform/linux/x11/ProcessTable.h"
#include "platform/process/Environment.h"
#include "values/Time.h"

namespace quillard::desktop {

// Asks the agents of this user's session that run already to quit, and waits until they have gone, `timeout` at the
// longest: a new agent takes their place only when their lock is free. Whose folder for the session is another one
// (XDG_RUNTIME_DIR) belongs to another session, and stays. False when one is still there.
bool endRunningAgents(const x11::ProcessTable& processes, const platform::Environment& environment, Seconds timeout);

}  // namespace quillard::desktop
