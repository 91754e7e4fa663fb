#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "platform/Subscription.h"
#include "platform/process/Executors.h"

namespace quillard::macos {

// Calls back, in a turn of `mainThread`, whenever any process of this session announces `name` to all others. The
// system delivers such notices on the main run loop. Make and destroy it on the main thread; `mainThread` outlives it.
[[nodiscard]] platform::SubscriptionHandle observeDistributedNotice(std::string_view name,
                                                                    platform::SerialExecutor& mainThread,
                                                                    std::function<void()> onNotice);

}  // namespace quillard::macos
