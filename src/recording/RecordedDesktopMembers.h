#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/Workspace.h"

// Names that writing and reading share.
namespace quillard::recording {

struct EverydayMember {
  const char* member;
  std::string_view attribute;
};

// Attributes that have a member of their own, in the order of writing. Role, frame, windows and children have their own
// rules besides.
inline constexpr std::array<EverydayMember, 5> kEverydayMembers{{
    {"subrole", platform::ax::kSubrole},
    {"title", platform::ax::kTitle},
    {"description", platform::ax::kDescription},
    {"value", platform::ax::kValue},
    {"modal", platform::ax::kModal},
}};

inline constexpr std::array<std::pair<platform::ActivationPolicy, std::string_view>, 3> kActivationPolicies{{
    {platform::ActivationPolicy::regular, "regular"},
    {platform::ActivationPolicy::accessory, "accessory"},
    {platform::ActivationPolicy::prohibited, "prohibited"},
}};

}  // namespace quillard::recording
