#pragma once

#include "status/MacStatusSnapshot.h"

namespace quillard {

// What the window shows when the agent behind it has gone: only what can be told without the agent, nothing of relay,
// phones, pauses and pending approvals.
[[nodiscard]] MacStatusSnapshot fallbackSnapshot(bool installedInApplications, bool accessibilityTrusted,
                                                 LoginItemStatus loginItemStatus, bool relayConfigured,
                                                 const UserTexts& say = {});

}  // namespace quillard
