#include "agent/PromptSuppressions.h"

#include <algorithm>
#include <utility>

namespace quillard {
namespace {

constexpr std::string_view kByPhone = "phone";
constexpr std::string_view kByComputer = "computer";
constexpr std::string_view kByTime = "time";

SuppressionEnd endOf(const ApprovalSuppressionCommand& command) {
  if (!command.lasts) return SuppressionEnd::whenTheAgentEnds();
  if (*command.lasts == 0) return SuppressionEnd::never();
  return SuppressionEnd::afterTime(Seconds{static_cast<double>(*command.lasts)});
}

}  // namespace

std::vector<FingerprintKey> PromptSuppressions::open(const FingerprintKey& ownKey) {
  list.open(ownKey);
  for (const auto& one : list.all()) {
    if (!one.kind.program.empty()) dependencies.questions().remember(one.kind.program, one.id);
  }
  return list.earlierKeys();
}

// ---- Changes

void PromptSuppressions::handle(const ApprovalSuppressionCommand& command) {
  if (command.action == kSuppressAction) {
    suppress(command);
  } else if (command.action == kUnsuppressAction) {
    (void)unsuppress(command.suppressionID, kByPhone);
  }
}

void PromptSuppressions::suppress(const ApprovalSuppressionCommand& command) {
  const auto& id = command.suppressionID;
  const auto kind = kindOf(id);
  list.suppress(id, kind, endOf(command));
  dependencies.audit.suppressed(id, kind, find(id)->until, kByPhone);
  dependencies.questions().mute(id);
  dependencies.approvals.removeSuppressed(id);
  if (command.lasts) ++changes;
  callbacks.onSuppressed();
}

bool PromptSuppressions::undo(const Uuid& id) { return unsuppress(id, kByComputer); }

bool PromptSuppressions::unsuppress(const Uuid& id, std::string_view byWhom) {
  const auto known = find(id);
  if (list.unsuppress(id)) dependencies.audit.unsuppressed(known->kind, byWhom);
  const bool isToBeTold = known && (byWhom != kByPhone || !known->endsWithRun);
  callbacks.onUnsuppressed();
  if (isToBeTold) changed();
  return known.has_value();
}

bool PromptSuppressions::setEnd(const Uuid& id, const SuppressionEnd& end) {
  if (!list.setEnd(id, end)) return false;
  const auto known = find(id);
  dependencies.audit.suppressed(id, known->kind, known->until, kByComputer);
  changed();
  return true;
}

void PromptSuppressions::endDue() {
  const auto ended = list.takeEnded();
  if (ended.empty()) return;
  for (const auto& one : ended) dependencies.audit.unsuppressed(one.kind, kByTime);
  callbacks.onUnsuppressed();
  changed();
}

void PromptSuppressions::changed() {
  ++changes;
  callbacks.onListChanged();
}

// ---- What is known

SuppressedKind PromptSuppressions::kindOf(const Uuid& suppressionID) const {
  const auto program = dependencies.questions().programAsking(suppressionID);
  const auto approvals = dependencies.approvals.all();
  const auto shown = std::find_if(approvals.begin(), approvals.end(),
                                  [&](const auto& one) { return one.suppressionID == suppressionID; });
  if (shown != approvals.end())
    return {.appName = shown->appName, .windowTitle = shown->windowTitle, .program = program};
  if (const auto known = find(suppressionID)) return known->kind;
  return {.appName = {}, .windowTitle = {}, .program = program};
}

std::optional<Suppression> PromptSuppressions::find(const Uuid& id) const {
  const auto all = list.all();
  const auto found = std::find_if(all.begin(), all.end(), [&](const Suppression& one) { return one.id == id; });
  return found == all.end() ? std::nullopt : std::optional(*found);
}

std::optional<SuppressionReports> PromptSuppressions::reports() const {
  if (!list.wasUsed()) return std::nullopt;
  std::vector<SuppressionReport> reports;
  for (const auto& one : list.all()) {
    reports.push_back({.suppressionID = one.id,
                       .appName = reportedText(one.kind.appName),
                       .windowTitle = reportedText(one.kind.windowTitle),
                       .since = one.since,
                       .until = one.until,
                       .endsWithRun = one.endsWithRun});
  }
  return boundedReports(std::move(reports));
}

}  // namespace quillard
