#pragma once

#include <optional>
#include <string>

#include "platform/linux/accessibility/AccessibilityCounters.h"

namespace quillard::atspi {

// Whether the login manager (org.freedesktop.login1) says that the screen is locked, of this process's session or of
// the one that this user sees, so that no key or click may be sent. Most lockers tell it; one that does not is unknown
// to it. A bus or a login manager that is there and does not answer, or not in a way that can be read, counts as
// locked. Where there is none, or it knows no session of this user, nothing is known, which does not count as locked:
// whoever asks has other proofs of where a key goes.
//
// `systemBusAddress`: absent: there is none. Opens a connection for this question alone, and waits for the login
// manager, up to one and a half seconds: not for a thread that must stay responsive.
[[nodiscard]] bool isSessionLocked(const std::optional<std::string>& systemBusAddress, AccessibilityCounters& counters);

}  // namespace quillard::atspi
