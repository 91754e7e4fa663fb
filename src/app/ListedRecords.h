#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/PrintableText.h"
#include "foundation/Text.h"

// Records that the terminal lists, and that a person means by the beginning of their identity.
namespace quillard::app {

// Of a foreign text, in bytes.
inline constexpr std::size_t kLongestListed = 1024;
// How much of an identity is listed, and how little a person may type of it.
inline constexpr std::size_t kListedIdentity = 8;
inline constexpr std::size_t kShortestPrefix = 4;

[[nodiscard]] inline std::string listedIdentity(std::string_view id) {
  return printableText(id.substr(0, kListedIdentity));
}

// The one whose `id` begins so; case does not count. Null: none, several, or `prefix` is too short to mean any.
template <class Record>
[[nodiscard]] const Record* onlyRecordWith(const std::vector<Record>& records, std::string_view prefix) {
  if (prefix.size() < kShortestPrefix) return nullptr;
  const auto wanted = text::lowercased(prefix);
  const auto matches = [&](const Record& one) { return text::lowercased(one.id).starts_with(wanted); };
  const auto found = std::find_if(records.begin(), records.end(), matches);
  if (found == records.end() || std::count_if(records.begin(), records.end(), matches) != 1) return nullptr;
  return &*found;
}

}  // namespace quillard::app
