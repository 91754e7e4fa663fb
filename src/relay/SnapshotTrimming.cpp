#include "relay/SnapshotTrimming.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "approvals/PendingApprovalJson.h"
#include "relay/SnapshotRecords.h"

namespace quillard {
namespace {

constexpr std::string_view kEllipsis = "\xE2\x80\xA6";
constexpr std::size_t kLongestEscape = 6;      // "\u0001" for one byte.
constexpr std::size_t kRecordOverhead = 1024;  // Names, identities, numbers and marks of a record; generously.
constexpr std::size_t kButtonOverhead = 256;
// Of an application, a title or a role, where a prompt is shown without buttons.
constexpr std::size_t kLongestShortenedName = 256;
constexpr std::string_view kTooLongToShow = "This prompt is too long to be shown here. Look at the computer.";

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

// At least as long as the record in JSON, its marks included.
std::size_t atMost(const PendingApproval& approval) {
  return kLongestEscape * textBytes(approval) + kRecordOverhead + kButtonOverhead * approval.buttons.size() +
         kLongestMarks;
}

// With its comma and its marks. Not written for what is too long in any case. A record that cannot be written takes no
// place: sealing will say what is wrong with it.
std::size_t length(const PendingApproval& approval, std::size_t longestText) {
  if (const auto bytes = textBytes(approval); bytes > longestText) return bytes;
  const auto text = pendingApprovalText(approval);
  return text ? text->size() + 1 + kLongestMarks : 0;
}

bool surelyFits(const std::vector<PendingApproval>& approvals, std::size_t longestText) {
  std::size_t total = 2;
  for (const auto& approval : approvals) total += atMost(approval);
  return total <= longestText;
}

// At most `longest` bytes of whole characters, the mark included.
std::string cut(const std::string& text, std::size_t longest) {
  if (text.size() <= longest) return text;
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

bool isReadByPhones(const PendingApproval& approval) {
  return approval.buttons.size() <= kMostButtons && approval.messageLines.size() <= kMostLines &&
         std::all_of(approval.buttons.begin(), approval.buttons.end(),
                     [](const DialogButton& button) { return button.label.size() <= kLongestLabel; });
}

// Says that it waits, and where to answer it.
PendingApproval withoutButtons(PendingApproval approval) {
  approval.appName = cut(approval.appName, kLongestShortenedName);
  approval.windowTitle = cut(approval.windowTitle, kLongestShortenedName);
  approval.windowRole = cut(approval.windowRole, kLongestShortenedName);
  approval.reason = cut(approval.reason, kLongestShortenedName);
  approval.bundleIdentifier.reset();
  approval.messageLines.clear();
  approval.buttons.clear();
  approval.recommendedButtonLabel.reset();
  approval.requiresDirectAccess = true;
  approval.directAccessReason = kTooLongToShow;
  return approval;
}

// What phones read of it. Whether anything was changed.
bool adaptToPhones(PendingApproval& approval) {
  if (isReadByPhones(approval)) return false;
  if (approval.messageLines.size() > kMostLines) {
    approval.messageLines.resize(kMostLines - 1);
    approval.messageLines.emplace_back(kEllipsis);
  }
  if (!isReadByPhones(approval)) approval = withoutButtons(std::move(approval));
  return true;
}

bool fits(const std::vector<PendingApproval>& approvals, std::size_t longestText) {
  if (approvals.size() > kMostApprovals) return false;
  if (surelyFits(approvals, longestText)) return true;
  std::size_t total = 2;
  for (auto next = approvals.begin(); next != approvals.end() && total <= longestText; ++next) {
    total += length(*next, longestText);
  }
  return total <= longestText;
}

// The positions of the approvals that stay, in their order.
std::vector<std::size_t> smallestThatFit(const std::vector<std::size_t>& lengths, std::size_t longestText) {
  std::vector<std::size_t> places(lengths.size());
  std::iota(places.begin(), places.end(), std::size_t{0});
  std::stable_sort(places.begin(), places.end(),
                   [&lengths](std::size_t one, std::size_t other) { return lengths[one] < lengths[other]; });
  std::size_t total = 2;
  std::size_t count = 0;
  while (count < places.size() && count < kMostApprovals && total + lengths[places[count]] <= longestText) {
    total += lengths[places[count++]];
  }
  places.resize(count);
  std::sort(places.begin(), places.end());
  return places;
}

}  // namespace

std::string TrimmedSnapshot::description() const {
  return "The list of approvals is too long for the relay: " + std::to_string(shortened) + " shortened, " +
         std::to_string(leftOut) + " left out.";
}

TrimmedSnapshot trimmedSnapshot(std::vector<PendingApproval> approvals, std::size_t longestText) {
  std::vector<bool> isShortened;
  for (auto& approval : approvals) isShortened.push_back(adaptToPhones(approval));
  TrimmedSnapshot trimmed;
  if (fits(approvals, longestText)) {
    trimmed.shortened = static_cast<std::size_t>(std::count(isShortened.begin(), isShortened.end(), true));
    trimmed.approvals = std::move(approvals);
    return trimmed;
  }
  std::vector<std::size_t> lengths;
  for (std::size_t i = 0; i < approvals.size(); ++i) {
    if (shorten(approvals[i])) isShortened[i] = true;
    lengths.push_back(length(approvals[i], longestText));
  }
  const auto kept = smallestThatFit(lengths, longestText);
  for (const auto place : kept) {
    trimmed.approvals.push_back(std::move(approvals[place]));
    trimmed.shortened += isShortened[place] ? 1U : 0U;
  }
  if (kept.empty()) {
    const auto smallest = std::min_element(lengths.begin(), lengths.end()) - lengths.begin();
    trimmed.approvals.push_back(withoutButtons(std::move(approvals[static_cast<std::size_t>(smallest)])));
    trimmed.shortened = 1;
  }
  trimmed.leftOut = approvals.size() - trimmed.approvals.size();
  return trimmed;
}

}  // namespace quillard
