#include "agent/configuration/AgentConfiguration.h"

#include <clocale>
#include <cstdlib>
#include <string>

#include "foundation/Text.h"

namespace quillard::AgentConfiguration {

using platform::Environment;

namespace {

constexpr Seconds kSafetySweepInterval{300};
constexpr Seconds kEventScanDebounce{0.35};
constexpr Seconds kApprovalStaleGrace{8};
constexpr Seconds kStaleCleanupMargin{0.5};
constexpr Seconds kVisibleWindowOwnerPollInterval{2};

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

}  // namespace

std::optional<double> positiveDoubleEnvironmentValue(const Environment& environment, std::string_view name) {
  const auto text = environment.value(name);
  if (!text || text->empty() || kLeadingWhiteSpace.find(text->front()) != std::string_view::npos) return std::nullopt;
  if (text->find_first_not_of(kNumberCharacters) != std::string::npos) return std::nullopt;
  const std::string number = withLocalPoint(*text);
  char* end = nullptr;
  const double value = std::strtod(number.c_str(), &end);
  const bool isWhole = end == number.c_str() + number.size();
  return isWhole && value > 0 ? std::optional{value} : std::nullopt;
}

std::optional<bool> booleanEnvironmentValue(const Environment& environment, std::string_view name) {
  const auto text = environment.value(name);
  if (!text) return std::nullopt;
  const std::string word = text::lowercased(*text);
  if (word == "1" || word == "true" || word == "yes") return true;
  if (word == "0" || word == "false" || word == "no") return false;
  return std::nullopt;
}

Seconds positiveSeconds(const Environment& environment, std::initializer_list<std::string_view> names,
                        Seconds fallback) {
  return firstUsable(environment, names, fallback, positiveDoubleEnvironmentValue);
}

bool boolean(const Environment& environment, std::initializer_list<std::string_view> names, bool fallback) {
  return firstUsable(environment, names, fallback, booleanEnvironmentValue);
}

Seconds safetySweepInterval(const Environment& environment) {
  // The scan interval is the older name; whoever set only that still controls the sweep.
  return positiveSeconds(environment,
                         {"QUILLARD_SAFETY_SWEEP_INTERVAL_SECONDS", "FARROWLIGHT_SAFETY_SWEEP_INTERVAL_SECONDS",
                          "QUILLARD_SCAN_INTERVAL_SECONDS", "FARROWLIGHT_SCAN_INTERVAL_SECONDS"},
                         kSafetySweepInterval);
}

Seconds eventScanDebounce(const Environment& environment) {
  return positiveSeconds(environment,
                         {"QUILLARD_EVENT_SCAN_DEBOUNCE_SECONDS", "FARROWLIGHT_EVENT_SCAN_DEBOUNCE_SECONDS"},
                         kEventScanDebounce);
}

Seconds approvalStaleGrace(const Environment& environment) {
  return positiveSeconds(environment,
                         {"QUILLARD_APPROVAL_STALE_GRACE_SECONDS", "FARROWLIGHT_APPROVAL_STALE_GRACE_SECONDS"},
                         kApprovalStaleGrace);
}

Seconds staleCleanupDelay(const Environment& environment) {
  return approvalStaleGrace(environment) + kStaleCleanupMargin;
}

Seconds visibleWindowOwnerPollInterval(const Environment& environment) {
  return positiveSeconds(
      environment, {"QUILLARD_VISIBLE_WINDOW_OWNER_POLL_SECONDS", "FARROWLIGHT_VISIBLE_WINDOW_OWNER_POLL_SECONDS"},
      kVisibleWindowOwnerPollInterval);
}

bool dialogDiagnosticsEnabled(const Environment& environment) {
  return boolean(environment, {"QUILLARD_DIALOG_DIAGNOSTICS", "FARROWLIGHT_DIALOG_DIAGNOSTICS"}, false);
}

}  // namespace quillard::AgentConfiguration
