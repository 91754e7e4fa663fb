#include "agent/configuration/AgentConfiguration.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <string>

#include "agent/configuration/Tunables.h"
#include "foundation/Text.h"

namespace quillard::AgentConfiguration {

using platform::Environment;

namespace {

constexpr Seconds kStaleCleanupMargin{0.5};

// strtod skips these; a value that begins with one is not meant as a number.
constexpr std::string_view kLeadingWhiteSpace{" \t\n\v\f\r\0", 7};

// Every character that the C locale's grammar knows, "inf", "infinity" and "nan(...)" included. What else a locale adds
// (a decimal comma, say) stays out.
constexpr std::string_view kNumberCharacters = "0123456789+-.()_abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";

// strtod reads the point as the process's locale writes it, and toolkits set that locale.
std::string withLocalPoint(std::string text) {
  const std::string localPoint = std::localeconv()->decimal_point;
  if (const auto point = text.find('.'); point != std::string::npos) text.replace(point, 1, localPoint);
  return text;
}

template <class T, class Read>
T firstUsable(const Environment& environment, std::initializer_list<std::string_view> names, T fallback, Read read) {
  for (const auto name : names) {
    if (const auto value = read(environment, name)) return T{*value};
  }
  return fallback;
}

// `name`: of the table.
Seconds secondsOf(std::string_view name, const Sources& sources) {
  return Seconds{valueOf(*findTunable(name), sources).value};
}

constexpr double kSmallestLog = 16 * 1024;
constexpr double kLargestLog = 32 * 1024 * 1024;

}  // namespace

std::optional<double> positiveDouble(std::string_view text) {
  if (text.empty() || kLeadingWhiteSpace.find(text.front()) != std::string_view::npos) return std::nullopt;
  if (text.find_first_not_of(kNumberCharacters) != std::string_view::npos) return std::nullopt;
  const std::string number = withLocalPoint(std::string(text));
  char* end = nullptr;
  const double value = std::strtod(number.c_str(), &end);
  const bool isWhole = end == number.c_str() + number.size();
  return isWhole && value > 0 ? std::optional{value} : std::nullopt;
}

std::optional<double> positiveDoubleEnvironmentValue(const Environment& environment, std::string_view name) {
  const auto text = environment.value(name);
  return text ? positiveDouble(*text) : std::nullopt;
}

std::optional<bool> booleanWord(std::string_view text) {
  const std::string word = text::lowercased(std::string(text));
  if (word == "1" || word == "true" || word == "yes") return true;
  if (word == "0" || word == "false" || word == "no") return false;
  return std::nullopt;
}

std::optional<bool> booleanEnvironmentValue(const Environment& environment, std::string_view name) {
  const auto text = environment.value(name);
  return text ? booleanWord(*text) : std::nullopt;
}

Seconds positiveSeconds(const Environment& environment, std::initializer_list<std::string_view> names,
                        Seconds fallback) {
  return firstUsable(environment, names, fallback, positiveDoubleEnvironmentValue);
}

bool boolean(const Environment& environment, std::initializer_list<std::string_view> names, bool fallback) {
  return firstUsable(environment, names, fallback, booleanEnvironmentValue);
}

Seconds safetySweepInterval(const Sources& sources) { return secondsOf("safety-sweep-interval", sources); }

Seconds eventScanDebounce(const Sources& sources) { return secondsOf("event-scan-debounce", sources); }

Seconds approvalStaleGrace(const Sources& sources) { return secondsOf("approval-stale-grace", sources); }

Seconds staleCleanupDelay(const Sources& sources) { return approvalStaleGrace(sources) + kStaleCleanupMargin; }

Seconds visibleWindowOwnerPollInterval(const Sources& sources) {
  return secondsOf("visible-window-owner-poll", sources);
}

bool logKeepsTexts(const Sources& sources) { return valueOf(*findTunable("log-texts"), sources).value != 0; }

Seconds logAge(const Sources& sources) { return secondsOf("log-age", sources); }

std::size_t logSize(const Sources& sources) {
  const double bytes = valueOf(*findTunable("log-size"), sources).value;
  return static_cast<std::size_t>(std::clamp(bytes, kSmallestLog, kLargestLog));
}

bool dialogDiagnosticsEnabled(const Sources& sources) {
  return valueOf(*findTunable("dialog-diagnostics"), sources).value != 0;
}

bool phoneLockForGrants(const Sources& sources) {
  return valueOf(*findTunable("phone-lock-for-grants"), sources).value != 0;
}

bool phoneAlerts(const Sources& sources) { return valueOf(*findTunable("phone-alerts"), sources).value != 0; }

bool phoneAlertTexts(const Sources& sources) { return valueOf(*findTunable("phone-alert-texts"), sources).value != 0; }

std::string relayAuthorityFile(const Sources& sources) {
  return valueOf(*findTunable("relay-authority"), sources).path;
}

}  // namespace quillard::AgentConfiguration
