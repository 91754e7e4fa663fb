#pragma once

#include <string>
#include <vector>

#include "platform/Subscription.h"
#include "platform/process/Application.h"
#include "platform/process/Executors.h"

// AppKit's application object, one call each; see WorkspaceCalls.h. Main thread.
namespace quillard::macos::appkit {

void setActivationPolicy(platform::ActivationPolicy policy);
// In front of whatever is active, and unhidden.
void activateApplication();
[[nodiscard]] bool isApplicationActive();
// Hides its windows; the application that was in front before comes to the front.
void hideApplication();

// One menu of that title. A custom item's `onChoice` is called while the menu closes.
void setMainMenu(const std::string& title, std::vector<platform::ApplicationMenuItem> items);

// Calls `onReopen` when the user starts the application that runs already, until the subscription goes.
[[nodiscard]] platform::SubscriptionHandle observeReopen(platform::Turn onReopen);

}  // namespace quillard::macos::appkit
