#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "platform/process/Environment.h"
#include "platform/storage/UserDefaults.h"
#include "values/Time.h"

// The agent's tunables, read afresh at each call; nothing is kept. Every tunable has two names in the environment, the
// product's before the module's; a value that cannot be used counts as absent and the next name is tried, then what the
// user set (`quillard settings`), then the default. Nothing is reported and nothing is clamped: a hundredth of a second
// and a day are taken as they stand.
namespace quillard::AgentConfiguration {

// Where tunables are looked up. What it names outlives it.
struct Sources {
  // The environment alone is a source, too: for tests and tools that follow nobody's settings.
  // NOLINTNEXTLINE(google-explicit-constructor,hicpp-explicit-conversions)
  Sources(const platform::Environment& environment, const platform::UserDefaults* settings = nullptr)
      : environment(environment), settings(settings) {}

  const platform::Environment& environment;
  const platform::UserDefaults* settings;  // Null: the environment alone.
};

// A number strictly greater than zero, infinity included, in the grammar of the C locale's strtod (decimal or
// hexadecimal, whatever the locale of this process), from the first character to the last. Absent for anything else.
[[nodiscard]] std::optional<double> positiveDouble(std::string_view text);
[[nodiscard]] std::optional<double> positiveDoubleEnvironmentValue(const platform::Environment& environment,
                                                                   std::string_view name);

// "1", "true" or "yes"; "0", "false" or "no"; in any letter case. Absent for anything else.
[[nodiscard]] std::optional<bool> booleanWord(std::string_view text);
[[nodiscard]] std::optional<bool> booleanEnvironmentValue(const platform::Environment& environment,
                                                          std::string_view name);

// The first usable value of `names`, else `fallback`.
[[nodiscard]] Seconds positiveSeconds(const platform::Environment& environment,
                                      std::initializer_list<std::string_view> names, Seconds fallback);
[[nodiscard]] bool boolean(const platform::Environment& environment, std::initializer_list<std::string_view> names,
                           bool fallback);

// How often everything is scanned although nothing seems to have happened. 300 s.
[[nodiscard]] Seconds safetySweepInterval(const Sources& sources);
// How long events must be quiet before they lead to a scan. 0.35 s.
[[nodiscard]] Seconds eventScanDebounce(const Sources& sources);
// How long a prompt that scans no longer see is kept. 8 s.
[[nodiscard]] Seconds approvalStaleGrace(const Sources& sources);
// How long after a scan that missed prompts the next one comes, to let them go: half a second after the grace.
[[nodiscard]] Seconds staleCleanupDelay(const Sources& sources);
// How often the owners of visible windows are looked at. 2 s.
[[nodiscard]] Seconds visibleWindowOwnerPollInterval(const Sources& sources);
// Whether the log keeps what prompts say. On.
[[nodiscard]] bool logKeepsTexts(const Sources& sources);
// How long the log keeps an entry. 90 days.
[[nodiscard]] Seconds logAge(const Sources& sources);
// How large the log becomes, in bytes. 1 MiB; at least 16 KiB, at most 32 MiB.
[[nodiscard]] std::size_t logSize(const Sources& sources);
// Whether each scan prints what it saw. Off.
[[nodiscard]] bool dialogDiagnosticsEnabled(const Sources& sources);
// Whether grants are refused for which the phone has not asked for its own lock. Off.
[[nodiscard]] bool phoneLockForGrants(const Sources& sources);
// Whether phones that sleep are woken. On.
[[nodiscard]] bool phoneAlerts(const Sources& sources);
// Whether what wakes a phone may say who asks and what, where the phone shows that. On.
[[nodiscard]] bool phoneAlertTexts(const Sources& sources);

// The file of authorities that may vouch for the relay besides those of the system, by its full path. Whether there is
// one is not looked at. Empty: none.
[[nodiscard]] std::string relayAuthorityFile(const Sources& sources);

}  // namespace quillard::AgentConfiguration
