#pragma once

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "foundation/UrlComponents.h"

namespace quillard::platform::simulated {

// Whether a client may connect to the address, as with real transports: it has one of `schemes` (lower case), a host,
// and no user name.
[[nodiscard]] inline bool isUsableUrl(std::string_view url, std::initializer_list<std::string_view> schemes) {
  const auto components = UrlComponents::parse(url);
  if (!components || !components->host || components->userInfo) return false;
  return std::find(schemes.begin(), schemes.end(), components->lowercasedScheme()) != schemes.end();
}

inline constexpr std::string_view kUnusableAddress = "The address cannot be used.";

}  // namespace quillard::platform::simulated
