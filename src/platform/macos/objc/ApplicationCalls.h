#pragma once

#include <string>
#include <vector>

#include "platform/Subscription.h"
#include "platform/process/Application.h"
#include "platform/process/Executors.h"

// AppKit's application object, one call each; see WorkspaceCalls.h. Main thread.
namespace quillard::macos::appkit {

void setActivationPolicy(platform::ActivationPolicy policy);
// In front of whatever is active.
void activateApplication();
[[nodiscard]] bool isApplicationActive();
// Whether a window is on screen that can be the main one: the menu bar's own cannot.
[[nodiscard]] bool hasApplicationWindow();
// Hides its windows; the application that was in front before comes to the front.
void hideApplication();
void unhideApplication();

// One menu of that title. A custom item's `onChoice` is called while the menu closes.
void setMainMenu(const std::string& title, std::vector<platform::ApplicationMenuItem> items);

// Calls `onReopen` when the user starts the application that runs already, until the subscription goes.
[[nodiscard]] platform::SubscriptionHandle observeReopen(platform::Turn onReopen);

}  // namespace quillard::macos::appkit
