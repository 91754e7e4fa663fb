#include "platform/macos/objc/WorkspaceMapping.h"

#include <array>
#include <utility>

namespace quillard::macos {

using platform::ActivationPolicy;
using platform::WorkspaceEventKind;

namespace {

constexpr std::array<std::pair<ActivationPolicy, long>, 3> kPolicies{
    {{ActivationPolicy::regular, 0}, {ActivationPolicy::accessory, 1}, {ActivationPolicy::prohibited, 2}}};

constexpr std::array<std::pair<std::string_view, WorkspaceEventKind>, 6> kNotifications{{
    {"NSWorkspaceDidLaunchApplicationNotification", WorkspaceEventKind::didLaunchApplication},
    {"NSWorkspaceDidTerminateApplicationNotification", WorkspaceEventKind::didTerminateApplication},
    {"NSWorkspaceDidActivateApplicationNotification", WorkspaceEventKind::didActivateApplication},
    {"NSWorkspaceDidHideApplicationNotification", WorkspaceEventKind::didHideApplication},
    {"NSWorkspaceDidUnhideApplicationNotification", WorkspaceEventKind::didUnhideApplication},
    {"NSWorkspaceActiveSpaceDidChangeNotification", WorkspaceEventKind::activeSpaceDidChange},
}};

}  // namespace

ActivationPolicy activationPolicyFrom(long number) {
  for (const auto& [policy, itsNumber] : kPolicies) {
    if (itsNumber == number) return policy;
  }
  return ActivationPolicy::prohibited;
}

long activationPolicyNumber(ActivationPolicy policy) {
  for (const auto& [known, number] : kPolicies) {
    if (known == policy) return number;
  }
  return 2;
}

std::optional<WorkspaceEventKind> eventKindFrom(std::string_view notificationName) {
  for (const auto& [name, kind] : kNotifications) {
    if (name == notificationName) return kind;
  }
  return std::nullopt;
}

}  // namespace quillard::macos
