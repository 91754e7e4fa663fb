#include "click/semantics/DialogButtonSemantics.h"

#include "foundation/Text.h"

namespace quillard::DialogButtonSemantics {
namespace {

LabelSet united(LabelSet first, const LabelSet& second, const LabelSet& third = {}) {
  first.insert(second.begin(), second.end());
  first.insert(third.begin(), third.end());
  return first;
}

}  // namespace

const LabelSet& safeDismissalLabels() {
  static const LabelSet labels{"cancel", "deny", "don’t allow", "don't allow", "not now", "no"};
  return labels;
}

const LabelSet& cancelActionLabels() {
  static const LabelSet labels = united(safeDismissalLabels(), {"later", "skip"});
  return labels;
}

const LabelSet& confirmActionLabels() {
  static const LabelSet labels{
      "ok",    "allow",   "always allow", "continue", "yes",     "empty bin", "delete",   "empty trash",
      "erase", "replace", "discard",      "save",     "install", "restart",   "relaunch", "install and relaunch"};
  return labels;
}

const LabelSet& promptButtonLabels() {
  static const LabelSet labels = united(cancelActionLabels(), confirmActionLabels(),
                                        {"open system settings", "open settings", "quit", "don't save", "don’t save",
                                         "install on quit", "don't install", "don’t install"});
  return labels;
}

const LabelSet& recommendedLabels() {
  static const LabelSet labels{"allow",         "always allow", "ok", "open system settings",
                               "open settings", "continue",     "yes"};
  return labels;
}

std::string normalized(std::string_view label) { return text::normalized(label); }

bool isSafeDismissal(std::string_view label) { return safeDismissalLabels().contains(normalized(label)); }
bool isCancelAction(std::string_view label) { return cancelActionLabels().contains(normalized(label)); }
bool isConfirmAction(std::string_view label) { return confirmActionLabels().contains(normalized(label)); }
bool isPromptButton(std::string_view label) { return promptButtonLabels().contains(normalized(label)); }

std::optional<std::string> recommendedButton(const std::vector<std::string>& labels) {
  for (const auto& label : labels) {
    if (recommendedLabels().contains(normalized(label))) return label;
  }
  return std::nullopt;
}

}  // namespace quillard::DialogButtonSemantics
