#include "relay/SnapshotTrimming.h"

#include <utility>

#include "approvals/PendingApprovalJson.h"

namespace quillard {
namespace {

constexpr std::string_view kEllipsis = "\xE2\x80\xA6";
constexpr std::size_t kLongestEscape = 6;      // "\u0001" for one byte.
constexpr std::size_t kRecordOverhead = 1024;  // Names, identities, numbers and marks of a record; generously.
constexpr std::size_t kButtonOverhead = 256;

// What the texts of a record take before anything in them is escaped.
std::size_t textBytes(const PendingApproval& approval) {
  std::size_t bytes = approval.appName.size() + approval.bundleIdentifier.value_or("").size() +
                      approval.windowTitle.size() + approval.windowRole.size() + approval.reason.size() +
                      approval.recommendedButtonLabel.value_or("").size() +
                      approval.directAccessReason.value_or("").size();
  for (const auto& line : approval.messageLines) bytes += line.size() + 1;
  for (const auto& button : approval.buttons) bytes += button.label.size() + button.role.size();
  return bytes;
}

// At least as long as the record in JSON.
std::size_t atMost(const PendingApproval& approval) {
  return kLongestEscape * textBytes(approval) + kRecordOverhead + kButtonOverhead * approval.buttons.size();
}

// With its comma. Not written for what is too long in any case. A record that cannot be written takes no place:
// sealing will say what is wrong with it.
std::size_t length(const PendingApproval& approval, std::size_t longestText) {
  if (const auto bytes = textBytes(approval); bytes > longestText) return bytes;
  const auto text = pendingApprovalText(approval);
  return text ? text->size() + 1 : 0;
}

bool surelyFits(const std::vector<PendingApproval>& approvals, std::size_t longestText) {
  std::size_t total = 2;
  for (const auto& approval : approvals) total += atMost(approval);
  return total <= longestText;
}

// At most `longest` bytes of whole characters, the mark included.
std::string cut(const std::string& text, std::size_t longest) {
  std::size_t end = longest - kEllipsis.size();
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end).append(kEllipsis);
}

bool shorten(PendingApproval& approval) {
  bool isShortened = false;
  std::size_t left = kShortenedText;
  for (auto line = approval.messageLines.begin(); line != approval.messageLines.end(); ++line) {
    if (line->size() <= left) {
      left -= line->size();
      continue;
    }
    *line = left > kEllipsis.size() ? cut(*line, left) : std::string(kEllipsis);
    approval.messageLines.erase(line + 1, approval.messageLines.end());
    isShortened = true;
    break;
  }
  if (approval.reason.size() > kShortenedText) {
    approval.reason = cut(approval.reason, kShortenedText);
    isShortened = true;
  }
  return isShortened;
}

}  // namespace

std::string TrimmedSnapshot::description() const {
  return "The list of approvals is too long for the relay: " + std::to_string(shortened) + " shortened, " +
         std::to_string(leftOut) + " left out.";
}

TrimmedSnapshot trimmedSnapshot(std::vector<PendingApproval> approvals, std::size_t longestText) {
  TrimmedSnapshot trimmed{.approvals = std::move(approvals)};
  if (surelyFits(trimmed.approvals, longestText)) return trimmed;
  std::size_t total = 2;
  for (auto next = trimmed.approvals.begin(); next != trimmed.approvals.end() && total <= longestText; ++next) {
    total += length(*next, longestText);
  }
  if (total <= longestText) return trimmed;

  std::vector<std::size_t> lengths;
  std::vector<bool> isShortened;
  total = 2;
  for (auto& approval : trimmed.approvals) {
    isShortened.push_back(shorten(approval));
    lengths.push_back(length(approval, longestText));
    total += lengths.back();
  }
  for (; total > longestText && trimmed.leftOut < lengths.size(); ++trimmed.leftOut) total -= lengths[trimmed.leftOut];
  trimmed.approvals.erase(trimmed.approvals.begin(),
                          trimmed.approvals.begin() + static_cast<std::ptrdiff_t>(trimmed.leftOut));
  for (std::size_t i = trimmed.leftOut; i < isShortened.size(); ++i) trimmed.shortened += isShortened[i] ? 1U : 0U;
  return trimmed;
}

}  // namespace quillard
