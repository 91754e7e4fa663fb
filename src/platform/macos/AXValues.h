#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include "platform/desktop/Accessibility.h"
#include "platform/macos/CFHandle.h"

namespace quillard::macos {

// The reason in our words. One that we have no word for is `failure`.
[[nodiscard]] platform::AXError errorFrom(::AXError error);

// The value in our kinds; null, and the object that stands for null in lists, are `noValue`, and an error in a value's
// place that error. Takes no count.
[[nodiscard]] platform::AXResult<platform::AXValue> valueFrom(CFTypeRef value);

// Empty for what cannot be said: foreign values, text that is no UTF-8, elements of another binding.
[[nodiscard]] CFValue cfValueFrom(const platform::AXValue& value);

}  // namespace quillard::macos
