#pragma once

#include "platform/desktop/PromptSupplement.h"

namespace quillard {

// What the desktops of Linux add to the rules of prompts, with a reason for each entry: their prompt services, the
// words of their toolkits and programs in English, and that windows are judged by what they are made of. Immutable.
[[nodiscard]] const platform::PromptSupplement& linuxPromptSupplement();

}  // namespace quillard
