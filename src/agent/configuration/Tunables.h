#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "agent/configuration/AgentConfiguration.h"

// The same tunables as a table, for those who list and set them.
namespace quillard::AgentConfiguration {

enum class TunableKind {
  seconds,  // Greater than zero.
  bytes,    // The same.
  onOff,
  file,  // By its full path, of which nothing has to exist. By default none.
};

struct Tunable {
  std::string_view name;  // What people call it: "safety-sweep-interval".
  std::string_view meaning;
  TunableKind kind = TunableKind::seconds;
  double fallback = 0;  // Seconds, or bytes; of a switch 0 or 1. Not used of a file.
  // In the order in which they count; those at the end may be empty.
  std::array<std::string_view, 4> variables{};
};

enum class TunableOrigin { environment, settings, fallback };

// What a tunable is now, and why.
struct TunableValue {
  double value = 0;  // As `Tunable::fallback`.
  TunableOrigin origin = TunableOrigin::fallback;
  std::string_view variable{};  // Of the environment, when that is where it is from.
  std::string path{};           // Of a file, in place of `value`. Empty: none.
  bool operator==(const TunableValue&) const = default;
};

[[nodiscard]] std::span<const Tunable> tunables();
// Null when there is none of that name.
[[nodiscard]] const Tunable* findTunable(std::string_view name);

[[nodiscard]] TunableValue valueOf(const Tunable& tunable, const Sources& sources);

// As people read and write it: "0.35", "on", "off"; of no file "none".
[[nodiscard]] std::string tunableText(const Tunable& tunable, const TunableValue& value);
// The other way, but for "none"; a switch is also what the environment takes for one. Absent: it is no value of this
// tunable. The origin is the settings.
[[nodiscard]] std::optional<TunableValue> readTunable(const Tunable& tunable, std::string_view text);
[[nodiscard]] TunableValue fallbackOf(const Tunable& tunable);

// Keeps what the user wants; what stands in the environment still comes first. False: `text` is no value, and nothing
// has changed.
bool setTunable(const Tunable& tunable, std::string_view text, platform::UserDefaults& settings);
// Back to the default.
void unsetTunable(const Tunable& tunable, platform::UserDefaults& settings);

}  // namespace quillard::AgentConfiguration
