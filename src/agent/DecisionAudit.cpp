#include "agent/DecisionAudit.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quillard {
namespace {

struct EndName {
  QuestionEnd end;
  const char* name;
};

constexpr std::array kEnds{EndName{QuestionEnd::timedOut, "timeout"}, EndName{QuestionEnd::noPhone, "noPhone"},
                           EndName{QuestionEnd::paused, "paused"},    EndName{QuestionEnd::muted, "muted"},
                           EndName{QuestionEnd::tooMany, "tooMany"},  EndName{QuestionEnd::stopping, "stopping"},
                           EndName{QuestionEnd::notTaken, "notTaken"}};

std::string nameOf(std::optional<QuestionEnd> end) {
  if (!end) return "withdrawn";
  return std::find_if(kEnds.begin(), kEnds.end(), [&](const EndName& one) { return one.end == *end; })->name;
}

// Of all that a prompt says, in a form that two prompts share only where they say the same.
std::string digestOf(const PendingApproval& approval) {
  Json json{{"title", approval.windowTitle}, {"lines", approval.messageLines}, {"buttons", Json::array()}};
  for (const auto& button : approval.buttons) json["buttons"].push_back(button.label);
  return auditDigest(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

}  // namespace

// ---- Prompts

void DecisionAudit::approvalsChanged(const std::vector<PendingApproval>& current) {
  std::set<Uuid> now;
  for (const auto& approval : current) {
    now.insert(approval.id);
    if (known.contains(approval.id)) continue;
    known.emplace(approval.id, Known{.suppressionID = approval.suppressionID,
                                     .program = approval.appName,
                                     .title = approval.windowTitle,
                                     .isAsked = approval.isAsked});
    if (hasRoom(asked, kMostAsked)) add(entryFor(approval), &asked);
  }
  for (auto one = known.begin(); one != known.end();) {
    const bool isOver = !now.contains(one->first) && !underWay.contains(one->first);
    if (isOver) {
      auto entry = entryFor(audit_events::kGone, one->second, one->first);
      entry.how = "notByPhone";
      add(std::move(entry));
    }
    one = isOver ? known.erase(one) : std::next(one);
  }
}

void DecisionAudit::lostSight() {
  for (auto one = known.begin(); one != known.end();) {
    const bool isOver = !one->second.isAsked && !underWay.contains(one->first);
    if (isOver) {
      auto entry = entryFor(audit_events::kGone, one->second, one->first);
      entry.how = "unseen";
      add(std::move(entry));
    }
    one = isOver ? known.erase(one) : std::next(one);
  }
}

AuditEntry DecisionAudit::entryFor(const PendingApproval& approval) const {
  AuditEntry entry{.event = std::string(audit_events::kAsked),
                   .approvalID = approval.id,
                   .program = approval.appName,
                   .how = approval.isAsked ? "program" : "window"};
  addTexts(approval, entry);
  return entry;
}

void DecisionAudit::addTexts(const PendingApproval& approval, AuditEntry& entry) const {
  if (!dependencies.keepsTexts()) {
    entry.textDigest = digestOf(approval);
    return;
  }
  entry.title = approval.windowTitle;
  entry.lines = approval.messageLines;
  for (const auto& button : approval.buttons) entry.buttons.push_back(button.label);
}

AuditEntry DecisionAudit::entryFor(std::string_view event, const Known& one, const Uuid& id) const {
  return {.event = std::string(event),
          .approvalID = id,
          .program = one.program,
          .title = dependencies.keepsTexts() ? one.title : std::string()};
}

// ---- Decisions

void DecisionAudit::decisionBegan(const ApprovalRequestEnvelope& decision, const PendingApproval* approval,
                                  const std::vector<std::string>& phones) {
  const auto& id = decision.command.approvalID;
  leftOutOf.reset();
  if (!approval && !hasRoom(refused, kMostRefused)) leftOutOf = decision.pairing;
  if (approval) underWay.insert_or_assign(id, decision.pairing);
  if (leftOutOf) return;
  const auto names = known.find(id);
  auto entry = entryFor(audit_events::kDecided, names == known.end() ? Known{} : names->second, id);
  entry.decisionID = decision.decisionID;
  entry.label = decision.command.buttonLabel;
  entry.pairing = decision.pairing;
  entry.phones = phones;
  add(std::move(entry), approval ? nullptr : &refused);
}

void DecisionAudit::decisionEnded(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result,
                                  const std::vector<std::string>& phones) {
  const auto& id = decision.command.approvalID;
  underWay.erase(id);
  const auto names = known.find(id);
  if (!std::exchange(leftOutOf, std::nullopt)) {
    auto entry = entryFor(audit_events::kOutcome, names == known.end() ? Known{} : names->second, id);
    entry.decisionID = decision.decisionID;
    entry.label = result.buttonLabel;
    entry.status = result.status;
    entry.error = result.error.value_or("");
    entry.how = result.reason.value_or("");
    entry.pairing = decision.pairing;
    entry.phones = phones;
    add(std::move(entry));
  }
  if (result.status == kAcceptedStatus && names != known.end()) known.erase(names);
}

void DecisionAudit::questionEnded(const Uuid& id, const std::optional<QuestionAnswer>& answer, bool wasTaken,
                                  std::optional<QuestionEnd> end) {
  const auto names = known.find(id);
  // What a phone answers has an outcome.
  if (names == known.end() || underWay.contains(id)) return;
  const bool isAnswered = answer && wasTaken;
  auto entry = entryFor(isAnswered ? audit_events::kAnswered : audit_events::kGone, names->second, id);
  if (answer) entry.label = answer->label;
  entry.how = !isAnswered ? nameOf(end) : answer->by == AnsweredBy::timeout ? "timeout" : "computer";
  add(std::move(entry));
  known.erase(names);
}

// ---- Mutes and the agent

void DecisionAudit::suppressed(const Uuid& suppressionID, const SuppressedKind& kind, const std::optional<Date>& until,
                               std::string_view byWhom) {
  std::erase_if(known, [&](const auto& one) {
    return one.second.suppressionID == suppressionID && !one.second.isAsked && !underWay.contains(one.first);
  });
  add({.event = std::string(audit_events::kMuted),
       .program = kind.appName,
       .title = dependencies.keepsTexts() ? kind.windowTitle : std::string(),
       .how = std::string(byWhom),
       .until = until});
}

void DecisionAudit::unsuppressed(const SuppressedKind& kind, std::string_view byWhom) {
  add({.event = std::string(audit_events::kUnmuted),
       .program = kind.appName,
       .title = dependencies.keepsTexts() ? kind.windowTitle : std::string(),
       .how = std::string(byWhom)});
}

void DecisionAudit::pairingEnded(int pairing) {
  std::erase_if(underWay, [pairing](const auto& one) { return one.second == pairing; });
  if (leftOutOf == pairing) leftOutOf.reset();
  add({.event = std::string(audit_events::kUnpaired), .pairing = pairing});
}

void DecisionAudit::note(std::string_view event, const std::optional<Date>& until, const std::string& note) {
  add({.event = std::string(event), .until = until, .note = note});
}

// ---- Bounds

bool DecisionAudit::hasRoom(Window& window, std::int64_t most) {
  const auto now = dependencies.clock.monotonicNow();
  if (now - window.begin >= kWindow) {
    window.begin = now;
    window.count = 0;
  }
  if (window.count < most) {
    ++window.count;
    return true;
  }
  ++window.leftOut;
  return false;
}

void DecisionAudit::add(AuditEntry entry, Window* window) {
  if (window) entry.leftOut = std::exchange(window->leftOut, 0);
  dependencies.log.add(std::move(entry));
}

}  // namespace quillard
