#include "agent/configuration/Tunables.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <variant>

#include <nlohmann/json.hpp>

#include "foundation/PrintableText.h"
#include "foundation/Text.h"

namespace quillard::AgentConfiguration {
namespace {

// Longer ones the systems do not open.
constexpr std::size_t kLongestPath = 4096;

constexpr Tunable kTunables[] = {
    {.name = "relay-authority",
     .meaning = "a file of certificates (PEM): who may vouch for the relay besides the system's authorities",
     .kind = TunableKind::file,
     .variables = {"QUILLARD_RELAY_AUTHORITY", "FARROWLIGHT_RELAY_AUTHORITY"}},
    {.name = "safety-sweep-interval",
     .meaning = "how often all windows are scanned although nothing seems to have happened",
     .fallback = 300,
     // The scan interval is the older name; whoever set only that still controls the sweep.
     .variables = {"QUILLARD_SAFETY_SWEEP_INTERVAL_SECONDS", "FARROWLIGHT_SAFETY_SWEEP_INTERVAL_SECONDS",
                   "QUILLARD_SCAN_INTERVAL_SECONDS", "FARROWLIGHT_SCAN_INTERVAL_SECONDS"}},
    {.name = "event-scan-debounce",
     .meaning = "how long to wait after the last event before a scan",
     .fallback = 0.35,
     .variables = {"QUILLARD_EVENT_SCAN_DEBOUNCE_SECONDS", "FARROWLIGHT_EVENT_SCAN_DEBOUNCE_SECONDS"}},
    {.name = "approval-stale-grace",
     .meaning = "how long a prompt is kept that scans no longer see",
     .fallback = 8,
     .variables = {"QUILLARD_APPROVAL_STALE_GRACE_SECONDS", "FARROWLIGHT_APPROVAL_STALE_GRACE_SECONDS"}},
    {.name = "visible-window-owner-poll",
     .meaning = "how often to look which programs have windows",
     .fallback = 2,
     .variables = {"QUILLARD_VISIBLE_WINDOW_OWNER_POLL_SECONDS", "FARROWLIGHT_VISIBLE_WINDOW_OWNER_POLL_SECONDS"}},
    {.name = "dialog-diagnostics",
     .meaning = "print a line for each window at each scan, with what the window shows",
     .kind = TunableKind::onOff,
     .fallback = 0,
     .variables = {"QUILLARD_DIALOG_DIAGNOSTICS", "FARROWLIGHT_DIALOG_DIAGNOSTICS"}},
    {.name = "phone-lock-for-grants",
     .meaning = "refuse what a phone grants without asking for its own lock first",
     .kind = TunableKind::onOff,
     .fallback = 0,
     .variables = {"QUILLARD_PHONE_LOCK_FOR_GRANTS", "FARROWLIGHT_PHONE_LOCK_FOR_GRANTS"}},
    {.name = "phone-alerts",
     .meaning = "wake phones that sleep when a prompt waits",
     .kind = TunableKind::onOff,
     .fallback = 1,
     .variables = {"QUILLARD_PHONE_ALERTS", "FARROWLIGHT_PHONE_ALERTS"}},
    {.name = "phone-alert-texts",
     .meaning = "say in what wakes a phone who asks and what; else only that a prompt waits",
     .kind = TunableKind::onOff,
     .fallback = 1,
     .variables = {"QUILLARD_PHONE_ALERT_TEXTS", "FARROWLIGHT_PHONE_ALERT_TEXTS"}},
    {.name = "log-texts",
     .meaning = "keep what prompts say in the log of decisions; else only a digest of it",
     .kind = TunableKind::onOff,
     .fallback = 1,
     .variables = {"QUILLARD_LOG_TEXTS", "FARROWLIGHT_LOG_TEXTS"}},
    {.name = "log-age",
     .meaning = "how long the log of decisions keeps an entry",
     .fallback = 7776000,
     .variables = {"QUILLARD_LOG_AGE_SECONDS", "FARROWLIGHT_LOG_AGE_SECONDS"}},
    {.name = "log-size",
     .meaning = "how large the log of decisions becomes, in bytes",
     .kind = TunableKind::bytes,
     .fallback = 1048576,
     .variables = {"QUILLARD_LOG_SIZE_BYTES", "FARROWLIGHT_LOG_SIZE_BYTES"}},
};

// Each under its own name behind this one.
constexpr std::string_view kSettingsKey = "quillard.settings";

std::string settingsKey(const Tunable& tunable) { return std::string(kSettingsKey) + "." + std::string(tunable.name); }

std::optional<double> readOnOff(std::string_view text) {
  const std::string word = text::lowercased(std::string(text));
  if (word == "on") return 1;
  if (word == "off") return 0;
  const auto value = booleanWord(text);
  return value ? std::optional{*value ? 1.0 : 0.0} : std::nullopt;
}

std::optional<double> readNumber(const Tunable& tunable, std::string_view text) {
  return tunable.kind == TunableKind::onOff ? readOnOff(text) : positiveDouble(text);
}

// A full path that can be printed as it stands.
bool isPath(std::string_view text) {
  return text.starts_with('/') && text.size() <= kLongestPath && printableName(text, kLongestPath) == text;
}

std::optional<TunableValue> storedValue(const Tunable& tunable, const platform::UserDefaults& settings) {
  const auto stored = settings.object(settingsKey(tunable));
  const auto* text = stored ? std::get_if<std::string>(&*stored) : nullptr;
  return text ? readTunable(tunable, *text) : std::nullopt;
}

// Of the environment a switch is what it always was: "on" is no word for it.
std::optional<TunableValue> valueOfVariable(const Tunable& tunable, const std::string& text) {
  if (tunable.kind != TunableKind::onOff) return readTunable(tunable, text);
  const auto word = booleanWord(text);
  return word ? std::optional{TunableValue{.value = *word ? 1.0 : 0.0}} : std::nullopt;
}

}  // namespace

std::span<const Tunable> tunables() { return kTunables; }

const Tunable* findTunable(std::string_view name) {
  const auto* const found =
      std::find_if(std::begin(kTunables), std::end(kTunables), [&](const auto& one) { return one.name == name; });
  return found == std::end(kTunables) ? nullptr : found;
}

TunableValue fallbackOf(const Tunable& tunable) {
  return {.value = tunable.fallback, .origin = TunableOrigin::fallback};
}

TunableValue valueOf(const Tunable& tunable, const Sources& sources) {
  for (const auto variable : tunable.variables) {
    if (variable.empty()) break;
    const auto text = sources.environment.value(variable);
    auto value = text ? valueOfVariable(tunable, *text) : std::nullopt;
    if (!value) continue;
    value->origin = TunableOrigin::environment;
    value->variable = variable;
    return *std::move(value);
  }
  if (sources.settings != nullptr) {
    if (auto value = storedValue(tunable, *sources.settings)) return *std::move(value);
  }
  return fallbackOf(tunable);
}

std::string tunableText(const Tunable& tunable, const TunableValue& value) {
  if (tunable.kind == TunableKind::file) return value.path.empty() ? "none" : value.path;
  if (tunable.kind == TunableKind::onOff) return value.value != 0 ? "on" : "off";
  if (std::isinf(value.value)) return "inf";
  std::string text = nlohmann::json(value.value).dump();  // The shortest that is read as this number again.
  if (text.ends_with(".0")) text.resize(text.size() - 2);
  return text;
}

std::optional<TunableValue> readTunable(const Tunable& tunable, std::string_view text) {
  TunableValue read{.origin = TunableOrigin::settings};
  if (tunable.kind == TunableKind::file) {
    read.path = text;
    return isPath(text) ? std::optional{std::move(read)} : std::nullopt;
  }
  const auto number = readNumber(tunable, text);
  if (!number) return std::nullopt;
  read.value = *number;
  return read;
}

bool setTunable(const Tunable& tunable, std::string_view text, platform::UserDefaults& settings) {
  const auto value = readTunable(tunable, text);
  if (!value) return false;
  settings.set(settingsKey(tunable), tunableText(tunable, *value));
  return true;
}

void unsetTunable(const Tunable& tunable, platform::UserDefaults& settings) { settings.remove(settingsKey(tunable)); }

}  // namespace quillard::AgentConfiguration
