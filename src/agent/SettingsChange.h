#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/storage/UserDefaults.h"

namespace quillard {

// What a person wants to be set, by its name: "relay", whose value is an address with its operator's key, or one of the
// tunables.
struct SettingsChange {
  std::string name;
  std::optional<std::string> value;  // Absent: back to the default; of the relay: none.
  bool operator==(const SettingsChange&) const = default;
};

inline constexpr std::string_view kRelaySetting = "relay";

// What came of a change that can be kept.
struct SettingsChangeResult {
  bool isTakenOver = false;  // It counts from now on.
  // Why it is not on the disk yet, as a sentence. Absent: it is.
  std::optional<std::string> unwritten{};
};

// Keeps it. Why it cannot be kept, as a sentence that holds no secret, and nothing has changed then; absent: it is
// kept.
[[nodiscard]] std::optional<std::string> apply(const SettingsChange& change, platform::UserDefaults& settings);

}  // namespace quillard
