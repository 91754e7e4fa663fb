#include "approvals/PendingApproval.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "approvals/LiveText.h"
#include "foundation/BrokenPromise.h"
#include "foundation/Numbers.h"

namespace quillard {
namespace {

constexpr double kSameIdentityScore = 1000;
constexpr double kSameContentScore = 500;
constexpr double kLowestMatch = 1;

std::int64_t truncated(double value) {
  if (!fitsInteger(value)) stopForBrokenPromise("A frame without identity was asked for its identity.");
  return truncatedToInteger(value);
}

// The labels by what is steady of them: those of one entry could run into each other.
std::map<std::string, std::set<std::string>> labelsOf(const PendingApproval& approval) {
  std::map<std::string, std::set<std::string>> labels;
  for (const auto& button : approval.buttons) labels[LiveText::steadyLabel(button.label)].insert(button.label);
  return labels;
}

bool hasSameLabels(const PendingApproval& a, const PendingApproval& b, Seconds passed) {
  const auto shown = labelsOf(a);
  const auto now = labelsOf(b);
  return std::equal(shown.begin(), shown.end(), now.begin(), now.end(), [&](const auto& one, const auto& other) {
    if (one.first != other.first) return false;
    if (one.second == other.second) return true;
    return one.second.size() == 1 && other.second.size() == 1 &&
           LiveText::isSameLabel(*one.second.begin(), *other.second.begin(), passed);
  });
}

LiveText::Progress progressOf(const PendingApproval& a, const PendingApproval& b) {
  return a.showsProgress && b.showsProgress ? LiveText::Progress::shown : LiveText::Progress::absent;
}

bool hasSameTexts(const PendingApproval& a, const PendingApproval& b, Seconds passed) {
  const auto isSame = [&](const std::string& one, const std::string& other) {
    return LiveText::isSameText(one, other, passed, progressOf(a, b));
  };
  if (!isSame(a.windowTitle, b.windowTitle)) return false;
  if (a.isFallbackDetection && b.isFallbackDetection) return true;  // Made of the title and the labels.
  return std::equal(a.messageLines.begin(), a.messageLines.end(), b.messageLines.begin(), b.messageLines.end(), isSame);
}

bool hasSameContent(const PendingApproval& a, const PendingApproval& b) {
  const Seconds passed = a.readAt && b.readAt ? Seconds{*b.readAt - *a.readAt} : Seconds{0};
  return a.processIdentifier == b.processIdentifier && a.bundleIdentifier == b.bundleIdentifier &&
         a.optionStates == b.optionStates && hasSameTexts(a, b, passed) && hasSameLabels(a, b, passed);
}

double centreDistance(const DialogFrame& a, const DialogFrame& b) {
  const double dx = (a.x + a.width * 0.5) - (b.x + b.width * 0.5);
  const double dy = (a.y + a.height * 0.5) - (b.y + b.height * 0.5);
  return std::hypot(dx, dy);
}

class Hasher {
 public:
  template <class T>
  Hasher& add(const T& value) {
    constexpr std::size_t kGoldenRatio = 0x9E3779B97F4A7C15ULL;
    hash ^= std::hash<T>{}(value) + kGoldenRatio + (hash << 6U) + (hash >> 2U);
    return *this;
  }
  template <class T>
  Hasher& addAll(const std::vector<T>& values) {
    add(values.size());
    for (const auto& value : values) add(value);
    return *this;
  }
  [[nodiscard]] std::size_t value() const { return hash; }

 private:
  std::size_t hash = 0;
};

}  // namespace

bool DialogFrame::hasIdentity() const {
  return fitsInteger(x) && fitsInteger(y) && fitsInteger(width) && fitsInteger(height);
}

std::string DialogFrame::identity() const {
  return std::to_string(truncated(x)) + "," + std::to_string(truncated(y)) + "," + std::to_string(truncated(width)) +
         "," + std::to_string(truncated(height));
}

const DialogButton* PendingApproval::button(std::string_view label) const {
  const auto isExact = [&](const DialogButton& button) { return button.label == label; };
  const auto exact = std::find_if(buttons.begin(), buttons.end(), isExact);
  if (exact != buttons.end()) return &*exact;
  const auto steady = LiveText::steadyLabel(label);
  const auto isAlike = [&](const DialogButton& button) { return LiveText::steadyLabel(button.label) == steady; };
  const auto alike = std::find_if(buttons.begin(), buttons.end(), isAlike);
  const bool isOnlyOne = alike != buttons.end() && std::none_of(std::next(alike), buttons.end(), isAlike);
  return isOnlyOne && LiveText::isSameLabel(label, alike->label) ? &*alike : nullptr;
}

PendingApproval PendingApproval::make(PendingApproval fields, const std::optional<Uuid>& suppressionID) {
  fields.suppressionID = suppressionID.value_or(fields.id);
  return fields;
}

std::string PendingApproval::displayTitle() const {
  return windowTitle.empty() ? appName + " needs attention" : appName + ": " + windowTitle;
}

PendingApproval PendingApproval::replacingIdentity(const Uuid& newID, Date newDetectedAt) const {
  PendingApproval copy = *this;
  copy.id = newID;
  copy.detectedAt = newDetectedAt;
  return copy;
}

double PendingApproval::matchScore(const PendingApproval& candidate) const {
  if (id == candidate.id) return kSameIdentityScore;
  if (!hasSameContent(*this, candidate)) return 0;
  // Written so that a distance that is no number, too, counts as far away.
  const double score = kSameContentScore - centreDistance(windowFrame, candidate.windowFrame);
  return score > kLowestMatch ? score : kLowestMatch;
}

}  // namespace quillard

std::size_t std::hash<quillard::DialogFrame>::operator()(const quillard::DialogFrame& frame) const noexcept {
  return quillard::Hasher().add(frame.x).add(frame.y).add(frame.width).add(frame.height).value();
}

std::size_t std::hash<quillard::DialogButton>::operator()(const quillard::DialogButton& button) const noexcept {
  return quillard::Hasher()
      .add(button.label)
      .add(button.role)
      .add(button.x)
      .add(button.y)
      .add(button.width)
      .add(button.height)
      .add(button.isEnabled)
      .add(button.isKnownDismissal)
      .value();
}

std::size_t std::hash<quillard::PendingApproval>::operator()(const quillard::PendingApproval& approval) const noexcept {
  return quillard::Hasher()
      .add(approval.id)
      .add(approval.suppressionID)
      .add(approval.detectedAt.time_since_epoch().count())
      .add(approval.appName)
      .add(approval.bundleIdentifier)
      .add(approval.processIdentifier)
      .add(approval.windowTitle)
      .add(approval.windowRole)
      .add(approval.windowFrame)
      .addAll(approval.messageLines)
      .add(approval.reason)
      .addAll(approval.buttons)
      .add(approval.recommendedButtonLabel)
      .add(approval.requiresDirectAccess)
      .add(approval.directAccessReason)
      .add(approval.isFallbackDetection)
      .value();
}
