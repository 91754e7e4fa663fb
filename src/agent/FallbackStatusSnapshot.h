#pragma once

#include "platform/Platform.h"
#include "relay/PairingConfiguration.h"
#include "status/MacStatusSnapshot.h"

namespace quillard {

// What the pairing configuration is read from and kept in.
[[nodiscard]] PairingDependencies pairingDependencies(const platform::Platform& platform);

// What the window shows when the agent behind it has gone: what can be told without it. Main thread.
[[nodiscard]] MacStatusSnapshot fallbackStatusSnapshot(const platform::Platform& platform, const UserTexts& texts = {});

}  // namespace quillard
