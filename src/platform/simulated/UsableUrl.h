#pragma once

#include <algorithm>
#include <initializer_list>
#include <set>
#include <string>
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

// Whether a client of this address can use `file`, which may be empty, where those of `existing` are. In clear nothing
// is vouched for, and no file is read.
[[nodiscard]] inline bool isAuthorityFileUsable(std::string_view url, const std::string& file,
                                                const std::set<std::string>& existing) {
  const auto components = UrlComponents::parse(url);
  const auto scheme = components ? components->lowercasedScheme() : std::string{};
  return file.empty() || (scheme != "https" && scheme != "wss") || existing.contains(file);
}

[[nodiscard]] inline std::string unusableAuthorityFile(const std::string& file) {
  return "The file of authorities cannot be read: " + file;
}

}  // namespace quillard::platform::simulated
