#pragma once

#include <string>

#include "foundation/StrictJson.h"

// Reads one window of a compositor's list, which is JSON. Nothing of it is trusted: what is absent, of another kind or
// too long reads as not there.
namespace quillard::desktop {

// Absent: `object` has no member of this name. Lives as long as `object`.
[[nodiscard]] const Json* memberOf(const Json& object, const char* name);

[[nodiscard]] bool isTrue(const Json& object, const char* name);

// Empty where there is none, or one of more than 64 KiB: nothing is half understood.
[[nodiscard]] std::string textOf(const Json& object, const char* name);

}  // namespace quillard::desktop
