#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Subscription.h"
#include "platform/desktop/Workspace.h"

// AppKit's workspace, one call each, for which there are no functions of C. Nothing is decided here, so that everything
// else of the workspace runs without a Mac, over fakes of these calls. Any thread.
namespace quillard::macos::appkit {

// The number of its process is negative when an application has none (any more).
[[nodiscard]] std::vector<platform::RunningApplication> runningApplications();
[[nodiscard]] std::optional<platform::RunningApplication> frontmostApplication();
// `process` is 1 or more. Absent when it is no application.
[[nodiscard]] std::optional<platform::RunningApplication> runningApplication(std::int32_t process);

// False, too, when `process` is no application.
[[nodiscard]] bool activate(std::int32_t process);
[[nodiscard]] bool unhide(std::int32_t process);
[[nodiscard]] bool terminate(std::int32_t process);

// False, too, when the text is no address for the system.
[[nodiscard]] bool openAddress(std::string_view address);
// `path` is the absolute path of a folder.
[[nodiscard]] bool isPackage(std::string_view path);
[[nodiscard]] bool openFolder(std::string_view path);

// Calls `onNotice`, on whatever thread the system likes, with the application that the notice is about, until the
// subscription goes; one that is under way then still comes. Made and destroyed on the main thread.
[[nodiscard]] platform::SubscriptionHandle observeWorkspace(
    platform::WorkspaceEventKind kind, std::function<void(std::optional<platform::RunningApplication>)> onNotice);

}  // namespace quillard::macos::appkit
