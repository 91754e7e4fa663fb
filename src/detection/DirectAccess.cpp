#include "detection/DirectAccess.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "click/semantics/DialogButtonSemantics.h"
#include "foundation/Text.h"

namespace quillard {
namespace {

constexpr std::array<std::string_view, 4> kSecretTexts{"password", "keychain", "access key", "login keychain"};
constexpr std::array<std::string_view, 4> kSettingsTexts{"system settings", "privacy & security",
                                                         "privacy and security", "accessibility settings"};
constexpr std::array<std::string_view, 2> kSettingsLabels{"open system settings", "open settings"};

constexpr std::string_view kSettingsReason =
    "Approving this requires changing macOS settings. Use TeamViewer, AnyDesk, Screen Sharing, or physical access to "
    "approve it. You can still deny it remotely.";

bool opensSettings(const std::vector<std::string>& buttonLabels) {
  return std::any_of(buttonLabels.begin(), buttonLabels.end(), [](const std::string& label) {
    return std::find(kSettingsLabels.begin(), kSettingsLabels.end(), text::normalized(label)) != kSettingsLabels.end();
  });
}

}  // namespace

std::optional<std::string> directAccessRequiredReason(const std::string& title,
                                                      const std::vector<std::string>& messageLines,
                                                      const std::vector<std::string>& buttonLabels) {
  std::string shown = text::normalized(title);
  for (const auto& line : messageLines) shown += " " + text::normalized(line);
  if (text::containsAny(shown, kSecretTexts)) return secretRequiredReason();
  if (opensSettings(buttonLabels) || text::containsAny(shown, kSettingsTexts)) return std::string(kSettingsReason);
  return std::nullopt;
}

bool isGrant(const PendingApproval& prompt, std::string_view buttonLabel) {
  if (DialogButtonSemantics::isSafeDismissal(buttonLabel)) return false;
  const auto* const button = prompt.button(buttonLabel);
  return !button || !button->isKnownDismissal;
}

bool requiresDirectAccessFor(const PendingApproval& prompt, std::string_view buttonLabel) {
  return prompt.requiresDirectAccess && isGrant(prompt, buttonLabel);
}

std::string secretRequiredReason() {
  return "This dialog asks for a password or keychain access. Use TeamViewer, AnyDesk, Screen Sharing, or physical "
         "access so Quillard never handles secrets. You can still deny it remotely.";
}

std::string notUnderstoodReason() {
  return "Not every button of this dialog is understood, so it can only be dismissed remotely. Answer it at the "
         "computer.";
}

std::string toBeFilledInReason() {
  return "Something has to be filled in, so this dialog can only be dismissed remotely. Answer it at the computer.";
}

std::string unreadableTextReason() {
  return "Part of this dialog's text cannot be read, so it may ask for a password. Use TeamViewer, AnyDesk, Screen "
         "Sharing, or physical access to approve it. You can still deny it remotely.";
}

}  // namespace quillard
