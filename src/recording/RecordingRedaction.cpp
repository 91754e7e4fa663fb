#include "recording/RecordingRedaction.h"

#include <algorithm>
#include <array>
#include <utility>

#include "foundation/Text.h"
#include "recording/TextMask.h"

namespace quillard::recording {
namespace {

namespace ax = platform::ax;

bool isTypedInto(std::string_view role) {
  constexpr std::array<std::string_view, 3> kRoles{ax::kTextFieldRole, "AXTextArea", "AXComboBox"};
  return std::find(kRoles.begin(), kRoles.end(), role) != kRoles.end();
}

// It may be anything, a word that happens to be known included.
RecordedValue maskedTyping(RecordedValue value) {
  if (const auto* typed = std::get_if<std::string>(&value)) return maskedText(*typed);
  if (std::holds_alternative<std::int64_t>(value)) return std::int64_t{0};
  if (std::holds_alternative<double>(value)) return 0.0;
  return value;
}

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

}  // namespace

RecordingRedaction::RecordingRedaction(const RecordingPrivacy& privacy,
                                       const std::vector<platform::RunningApplication>& applications)
    : privacy(privacy) {
  for (const auto& application : applications) {
    if (application.localizedName) applicationNames.insert(text::normalized(*application.localizedName));
  }
}

std::string RecordingRedaction::text(const std::string& text) const {
  if (!privacy.maskTexts) return text;
  const auto normalized = text::normalized(text);
  const bool isKnown = privacy.knownTexts.contains(normalized) || applicationNames.contains(normalized);
  return isKnown ? text : maskedText(text);
}

RecordedValue RecordingRedaction::value(std::string_view role, std::string_view name, RecordedValue value) const {
  if (!privacy.maskTexts || name == ax::kRole || name == ax::kSubrole) return value;
  if (name == ax::kValue && isTypedInto(role)) return maskedTyping(std::move(value));
  if (const auto* words = std::get_if<std::string>(&value)) return text(*words);
  return value;
}

std::string RecordingRedaction::actionName(const std::string& name) const {
  const bool isFixed = name.starts_with("AX") && std::all_of(name.begin(), name.end(), isLetter);
  return isFixed ? name : text(name);
}

}  // namespace quillard::recording
