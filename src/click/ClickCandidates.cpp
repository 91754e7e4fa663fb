#include "click/ClickCandidates.h"

#include "click/semantics/DialogButtonSemantics.h"
#include "platform/desktop/Accessibility.h"

namespace quillard::ClickExecutor {

using platform::KeyCode;
namespace ax = platform::ax;

std::vector<std::string_view> windowActionCandidates(std::string_view label) {
  if (DialogButtonSemantics::isConfirmAction(label)) return {ax::kConfirmAction};
  if (DialogButtonSemantics::isCancelAction(label)) return {ax::kCancelAction};
  return {};
}

std::vector<std::string_view> buttonAttributeCandidates(std::string_view label) {
  if (DialogButtonSemantics::isConfirmAction(label)) return {ax::kDefaultButton};
  if (DialogButtonSemantics::isCancelAction(label)) return {ax::kCancelButton};
  return {};
}

std::optional<KeyCode> keyCandidate(std::string_view label) {
  if (DialogButtonSemantics::isConfirmAction(label)) return KeyCode::returnKey;
  if (DialogButtonSemantics::isCancelAction(label)) return KeyCode::escape;
  return std::nullopt;
}

bool meansTheSame(std::string_view label, std::string_view other) {
  const auto key = keyCandidate(label);
  return key && key == keyCandidate(other);
}

}  // namespace quillard::ClickExecutor
