#include "simulation/Judge.h"

#include <algorithm>
#include <variant>

#include "click/semantics/DialogButtonSemantics.h"
#include "relay/RelayCommands.h"
#include "relay/RelayCrypto.h"
#include "relay/RelayMessages.h"

namespace quillard::simulation {

namespace {

// How long after it went a prompt may still be met: its grace, and a scan that waits for programs that do not answer.
constexpr Seconds kStaleAtFirst{25};
// The most time between a tap and its arrival at the agent.
constexpr Seconds kLatestArrival{60};
// The press may go on for so long after the decision arrived, and the queue before it likewise.
constexpr Seconds kSettled{3};
// How long the prompt may take to go after a press: the waits of the click.
constexpr Seconds kPressTakesEffect{4.25};
// Some of these do not fit into one message.
constexpr std::size_t kHugeTitle = 10'000;

std::string shown(const Uuid& id) { return id.text().substr(0, 8); }

}  // namespace

Judge::Judge(Stage& stage, const DesktopLife& life, const AgentProcess& process, const Identities& identities,
             Ledger& ledger, OpenedLists& lists)
    : stage(stage), life(life), process(process), identities(identities), ledger(ledger), lists(lists) {}

void Judge::agentStarted() {
  listWasForgotten();
  if (programs) programs->agentStarted();
  for (auto& [id, identity] : byID) {
    if (identity.isListed) {
      identity.isListed = false;
      identity.left = stage.now();
    }
    identity.mayComeBack = false;  // What the next process lists, it lists under identities of its own.
  }
}

// ---- What the agent sends

void Judge::agentSent(const std::string& frame, const InstallationSecrets& secrets) {
  expectNoSecrets(frame, "a frame");
  const auto json = Json::parse(frame, nullptr, false);
  if (!json.is_object()) return stage.fail("The agent sent a frame that is no JSON object.");
  const auto type = json.value("type", std::string{});
  if (type == kMacSnapshotType) takeSnapshot(json, secrets);
  if (type == kApprovalResultType) takeResult(json, secrets);
}

void Judge::agentAsked(const platform::HttpRequest& request) {
  expectNoSecrets(request.url + request.body, "a request");
}

void Judge::takeSnapshot(const Json& frame, const InstallationSecrets& secrets) {
  const auto list = lists.open(frame["encryptedApprovals"].value("ciphertext", std::string{}), secrets.e2eSecret);
  if (!list->isOpen) return stage.fail("The agent sealed a list for nobody.");
  if (!list->isReadable) return stage.fail("The agent sealed a list that cannot be read.");
  std::set<Uuid> present;
  std::string titles;
  std::vector<PendingApproval> asked;
  for (const auto& approval : list->approvals) {
    titles += " " + shown(approval.id) + "=\"" + approval.windowTitle.substr(0, 40) + "\"";
    if (programs && AskingPrograms::isQuestion(approval)) {
      asked.push_back(approval);
      continue;
    }
    if (!present.insert(approval.id).second) stage.fail("The list names ", shown(approval.id), " twice.");
    listed(approval);
  }
  stage.trace("agent", "lists", titles.empty() ? " nothing" : titles);
  if (programs) programs->listed(asked);
  const bool isIncomplete = list->marks.leftOut > 0;
  if (isIncomplete) ++incompleteCount;
  expectWholeUnlessMarked(present, isIncomplete);
  const bool isHidden = process.isPaused() || !frame.value("accessibilityTrusted", true);
  for (auto& [id, identity] : byID) {
    if (!identity.isListed || present.contains(id)) continue;
    identity.isListed = false;
    identity.left = stage.now();
    identity.mayComeBack = isHidden || (isIncomplete && identity.isHuge);
    if (!isHidden) left(id, identity);
  }
}

// Huge prompts of one program are opened together, and met in the same scan.
void Judge::expectWholeUnlessMarked(const std::set<Uuid>& present, bool isIncomplete) {
  constexpr Seconds kMet{0.5};
  if (isIncomplete || !mutedKinds.empty()) return;
  std::set<std::size_t> named;
  for (const Uuid& id : present) {
    const Identity& identity = byID.at(id);
    if (identity.isHuge) named.insert(identity.candidates.begin(), identity.candidates.end());
  }
  for (const std::size_t number : named) {
    for (const std::size_t other : life.open()) {
      const Appearance& missing = life.appearances()[other];
      const bool isOfThem = missing.from <= life.appearances()[number].from &&
                            missing.application == life.appearances()[number].application && !missing.unsteady &&
                            missing.content.title.size() > kHugeTitle && !named.contains(other);
      const bool isMet = stage.now() - missing.from > kMet && viewWasClearSince(missing.from - kStaleAtFirst) &&
                         life.answeredSince(other, missing.from - kStaleAtFirst);
      if (isOfThem && isMet) {
        return stage.fail("A list leaves out appearance ", other, ", and does not say that it is not whole.");
      }
    }
  }
}

// It went a moment ago, or while nobody could see that.
bool Judge::mayStillBeListed(const Appearance& gone) const {
  return stage.awakeSince(*gone.to) <= kStaleAtFirst || !viewWasClearSince(*gone.to - kStaleAtFirst) ||
         !life.answeredSince(gone.number, *gone.to - kStaleAtFirst);
}

std::vector<std::size_t> Judge::candidatesOf(const PendingApproval& approval) const {
  std::vector<std::size_t> candidates;
  for (const Appearance& appearance : life.appearances()) {
    if (appearance.content.title != approval.windowTitle) continue;
    if (appearance.to && !mayStillBeListed(appearance)) continue;
    const auto& places = appearance.places;
    if (std::find(places.begin(), places.end(), approval.windowFrame) != places.end()) {
      candidates.push_back(appearance.number);
    }
  }
  return candidates;
}

void Judge::listed(const PendingApproval& approval) {
  const auto candidates = candidatesOf(approval);
  const auto known = byID.find(approval.id);
  if (known == byID.end()) {
    if (candidates.empty()) {
      stage.fail("The list names \"", approval.windowTitle, "\" (", shown(approval.id),
                 "), which is not on the screen.");
    }
    byID.emplace(approval.id, Identity{.candidates = candidates,
                                       .suppressionID = approval.suppressionID,
                                       .title = approval.windowTitle,
                                       .lastListed = stage.now(),
                                       .isHuge = approval.windowTitle.size() > kHugeTitle});
    return;
  }
  Identity& identity = known->second;
  expectSameAppearance(identity, approval);
  if (!identity.isListed && !identity.mayComeBack) {
    stage.fail("The identity ", shown(approval.id), " (\"", approval.windowTitle, "\") had ended, and came back.");
  }
  identity.isListed = true;
  identity.lastListed = stage.now();
  identity.left.reset();
}

// A window may have moved, but not into the place of another one that shows the same.
void Judge::expectSameAppearance(const Identity& identity, const PendingApproval& approval) {
  if (identity.candidates.empty()) return;
  for (const std::size_t candidate : identity.candidates) {
    const auto& places = life.appearances()[candidate].places;
    if (std::find(places.begin(), places.end(), approval.windowFrame) != places.end()) return;
  }
  stage.fail("The identity ", shown(approval.id), " (\"", approval.windowTitle,
             "\") stands for another appearance now.");
}

// It is not on the list any more, which nothing but the prompt itself explains: an application that does not answer
// keeps its place.
void Judge::left(const Uuid& id, Identity& identity) {
  if (mutedKinds.contains(identity.suppressionID)) {
    identity.mayComeBack = true;
    return;
  }
  // Between the two lists at the latest, however far they lie apart.
  const bool wasForgotten =
      forgottenAt && (stage.awakeSince(*forgottenAt) < kStaleAtFirst || *forgottenAt >= identity.lastListed);
  if (wasForgotten || identity.mayComeBack) return;
  for (const std::size_t candidate : identity.candidates) {
    const Appearance& appearance = life.appearances()[candidate];
    if (appearance.to || appearance.unsteady) return;
  }
  if (!identity.candidates.empty()) {
    stage.fail("\"", identity.title, "\" (", shown(id), ") left the list, and is on the screen all the time.");
  }
}

std::optional<std::size_t> Judge::appearanceOf(const Uuid& approvalID) const {
  const auto found = byID.find(approvalID);
  if (found == byID.end() || found->second.candidates.empty()) return std::nullopt;
  return found->second.candidates.front();
}

// ---- What it presses

bool Judge::fits(const TapDecision& decision, const AgentPress& press) const {
  const auto found = byID.find(decision.approvalID);
  if (found == byID.end() || decision.label != press.label || !decision.delivered) return false;
  if (*decision.delivered > press.at) return false;
  if (decision.isNew && *decision.delivered - decision.tappedAt > kLatestArrival + Seconds{1}) return false;
  const auto& candidates = found->second.candidates;
  return std::find(candidates.begin(), candidates.end(), press.appearance) != candidates.end();
}

void Judge::pressed(const AgentPress& press) {
  ++pressCount;
  stage.trace("desktop", "the agent presses \"", press.label, "\" of appearance ", press.appearance,
              press.isTaken ? "" : ", which is refused", press.held > Seconds::zero() ? ", with the mouse" : "");
  // By the decision that the agent came to first. Without one that is open, by what there is a decision for at all.
  const auto meanings = meaningsOf(press);
  const AgentPress* meant = nullptr;
  const TapDecision* of = nullptr;
  for (const auto& meaning : meanings) {
    const auto open = openDecisionsFor(meaning);
    if (open.empty() || (of && of->delivery <= open.front()->delivery)) continue;
    of = open.front();
    meant = &meaning;
  }
  const auto isMeant = [&](const AgentPress& meaning) {
    const auto& decisions = ledger.decisions();
    return std::any_of(decisions.begin(), decisions.end(), [&](const auto& one) { return fits(one, meaning); });
  };
  if (!meant) {
    const auto found = std::find_if(meanings.begin(), meanings.end(), isMeant);
    meant = found == meanings.end() ? &press : &*found;
  }
  judgePress(*meant);
}

// What a window turns into while the button of a mouse is down is pressed in place of what it was, whoever presses; and
// so is what it turns into while a request is on its way to a slow application.
std::vector<AgentPress> Judge::meaningsOf(const AgentPress& press) const {
  std::vector<AgentPress> meanings{press};
  const Appearance& its = life.appearances()[press.appearance];
  if (const auto& swap = its.swapped; swap && wasUnderWay(press, swap->at)) {
    AgentPress before = press;
    if (press.label == swap->first) before.label = swap->second;
    if (press.label == swap->second) before.label = swap->first;
    meanings.push_back(before);
  }
  if (const auto predecessor = life.predecessorOf(press.appearance); predecessor && wasUnderWay(press, its.from)) {
    AgentPress before = press;
    before.appearance = *predecessor;
    meanings.push_back(before);
  }
  return meanings;
}

bool Judge::wasUnderWay(const AgentPress& press, Seconds change) const {
  if (change > press.at + kSameMoment) return false;
  return stage.awakeSince(change) - stage.awakeSince(press.at) <= press.held + kSameMoment ||
         !life.answeredSince(press.appearance, press.at - kStaleAtFirst);
}

std::vector<TapDecision*> Judge::openDecisionsFor(const AgentPress& press) const {
  std::vector<TapDecision*> open;
  for (TapDecision& decision : ledger.decisions()) {
    if (decision.answers.empty() && fits(decision, press)) open.push_back(&decision);
  }
  std::sort(open.begin(), open.end(),
            [](const auto* one, const auto* other) { return one->delivery < other->delivery; });
  return open;
}

std::vector<TapDecision*> Judge::begunOf(const std::vector<TapDecision*>& open) const {
  std::vector<TapDecision*> begun;
  for (TapDecision* const decision : open) {
    begun.push_back(decision);
    const bool mayHaveEnded = cutOffAt && *cutOffAt >= *decision->delivered;
    if (!mayHaveEnded) break;
  }
  return begun;
}

void Judge::judgePress(const AgentPress& press) {
  const Appearance& appearance = life.appearances()[press.appearance];
  pressesByAppearance[press.appearance].push_back(press);
  const bool wasPrompt = life.answeredSince(press.appearance, press.at - kStaleAtFirst);
  if (appearance.content.needsDirectAccess && !DialogButtonSemantics::isSafeDismissal(press.label) && wasPrompt) {
    stage.fail("\"", press.label, "\" of \"", appearance.content.title,
               "\" was pressed, which requires direct access.");
  }
  std::vector<TapDecision*> fitting;
  for (TapDecision& decision : ledger.decisions()) {
    if (fits(decision, press)) fitting.push_back(&decision);
  }
  if (fitting.empty()) {
    // An application that acts late presses what its button has become meanwhile.
    if (!wasPrompt) return;
    return stage.fail("\"", press.label, "\" of \"", appearance.content.title, "\" (appearance ", press.appearance,
                      ") was pressed, and no decision for it named that button.");
  }
  const auto open = openDecisionsFor(press);
  const auto begun = begunOf(open);
  const bool isAlone = open.size() == 1;
  for (TapDecision* const decision : begun) takePress(*decision, press, {.isAlone = isAlone, .wasPrompt = wasPrompt});
  if (begun.size() == 1 && press.isTaken && !begun.front()->pressed) {
    begun.front()->pressed = press.appearance;
    begun.front()->pressedAt = press.at;
  }
  const bool allAnswered = std::all_of(fitting.begin(), fitting.end(), [&](const TapDecision* decision) {
    return decision->isNew && !decision->wasRenamed && !decision->answers.empty() &&
           decision->answers.front().at < press.at;
  });
  if (allAnswered && wasPrompt) {
    stage.fail("\"", press.label, "\" of \"", appearance.content.title, "\" was pressed again after ",
               fitting.front()->id, " had been answered.");
  }
}

// The first press may take effect for as long as the click waits for it. Which one that was is not plain while another
// decision may be under way: one that kept the time is enough.
void Judge::takePress(TapDecision& decision, const AgentPress& press, const PressConditions& conditions) {
  std::optional<Seconds> hurry;
  std::erase_if(decision.firstPresses, [&](TapDecision::FirstPress& first) {
    const Seconds passed = press.at - first.at;
    if (first.appearance != press.appearance || !conditions.wasPrompt || passed >= kPressTakesEffect - Seconds{0.01}) {
      first.hadItsTime = true;
    }
    if (!first.hadItsTime) hurry = passed;
    return !first.hadItsTime;
  });
  if (!decision.wasFirstPressMade && press.isTaken) {
    decision.firstPresses.push_back({.appearance = press.appearance, .at = press.at});
    decision.wasFirstPressMade = conditions.isAlone;
  }
  if (hurry && conditions.isAlone && decision.firstPresses.empty()) {
    stage.fail(decision.id, " pressed \"", press.label, "\" again ", hurry->count(),
               " s after a press that could still take effect.");
  }
}

// ---- What it answers

void Judge::takeResult(const Json& frame, const InstallationSecrets& secrets) {
  const auto id = frame.value("decisionID", std::string{});
  const auto text = RelayCrypto::open(
      {.version = 1, .nonce = {}, .ciphertext = frame["encryptedResult"].value("ciphertext", std::string{})},
      secrets.e2eSecret);
  if (!std::holds_alternative<std::string>(text)) return stage.fail("The agent sealed an answer for nobody.");
  const auto result = Json::parse(std::get<std::string>(text), nullptr, false);
  const auto status = result.value("status", std::string{});
  const auto error = result.value("error", std::string{});
  stage.trace("agent", "answers ", id, ": ", status, error.empty() ? "" : ": ", error);
  TapDecision* const decision = ledger.find(id);
  if (!decision) return stage.fail("The agent answered ", id, ", which nobody decided.");
  if (decision->pairingID != secrets.pairingID) {
    return stage.fail("The agent answered ", id, ", which is a decision of another pairing.");
  }
  ++answersByStatus[status];
  const bool isFirst = decision->answers.empty();
  const bool sameProcess = !isFirst && decision->answers.front().at >= process.startedAt();
  if (sameProcess && !decision->wasRenamed && decision->isNew && decision->answers.front().status != status) {
    stage.fail("The agent answered ", id, " with ", decision->answers.front().status, " and then with ", status, ".");
  }
  if (isFirst) judgeAnswer(*decision, status, error);
  decision->answers.push_back({stage.now(), status, error});
}

void Judge::judgeAnswer(const TapDecision& decision, const std::string& status, const std::string& error) {
  if (programs && programs->isAbout(decision)) return programs->judgeAnswer(decision, status);
  const auto found = byID.find(decision.approvalID);
  const auto appearance = appearanceOf(decision.approvalID);
  if (status == kAcceptedStatus) {
    if (!appearance) return stage.fail(decision.id, " was accepted, and stands for no prompt that was ever listed.");
    bool wasPressed = false;
    bool isGone = false;
    for (const std::size_t candidate : found->second.candidates) {
      // A request that a slow application does not answer may have pressed, and its window may have gone by itself.
      if (life.appearances()[candidate].to && !life.answeredSince(candidate, *decision.delivered)) return;
      const auto& presses = pressesByAppearance[candidate];
      if (presses.empty()) continue;
      wasPressed = true;
      isGone = isGone || life.appearances()[candidate].to.has_value();
    }
    if (!wasPressed) return stage.fail(decision.id, " was accepted, and nothing was pressed.");
    if (!isGone) return stage.fail(decision.id, " was accepted, and the prompt is still on the screen.");
    return;
  }
  if (!appearance) return;
  if (status == kNotFoundStatus || status == kRequiresDirectAccessStatus) return judgeNotPressed(decision, status);
  // Plain to see: pressed, gone for a while, everybody answered, and nobody else had a hand in it. That its window has
  // gone can be seen without its program, and what else its window shows by now cannot.
  const Appearance& its = life.appearances()[*appearance];
  const bool isPlain =
      decision.pressed == appearance && its.to && stage.now() - *its.to > kSettled &&
      viewWasClearSince(*decision.delivered - kStaleAtFirst) &&
      life.answeredBetween(*appearance, *decision.delivered - kStaleAtFirst,
                           life.tookItsWindowAlong(*appearance) ? decision.pressedAt : *its.to + kSettled) &&
      found->second.candidates.size() == 1 && !its.content.isUnreadable;
  if (isPlain && status == kFailedStatus) {
    stage.fail(decision.id, " was answered with failed (", error, "), and the prompt had gone ",
               (stage.now() - *its.to).count(), " s before.");
  }
}

void Judge::judgeNotPressed(const TapDecision& decision, const std::string& status) {
  const bool isAlone =
      std::count_if(ledger.decisions().begin(), ledger.decisions().end(),
                    [&](const TapDecision& other) { return other.approvalID == decision.approvalID; }) == 1;
  // A process that has ended cannot tell the next one what it pressed.
  if (isAlone && decision.pressed && decision.pressedAt >= process.startedAt()) {
    stage.fail(decision.id, " was answered with ", status, ", and \"", decision.label, "\" had been pressed.");
  }
  if (status == kNotFoundStatus && isPlainlyThere(decision)) {
    stage.fail(decision.id, " was answered with ", status, ", and it is on the screen all the time.");
  }
}

// Listed as one appearance, and with that button, from before the decision came until now. An agent that could not look
// meanwhile has to say so.
bool Judge::isPlainlyThere(const TapDecision& decision) const {
  const auto& identity = byID.at(decision.approvalID);
  if (identity.candidates.size() != 1 || !identity.isListed) return false;
  if (mutedKinds.contains(identity.suppressionID)) return false;
  const Appearance& its = life.appearances()[identity.candidates.front()];
  const auto& buttons = its.content.buttons;
  return !its.to && !its.unsteady && its.from <= *decision.delivered &&
         std::find(buttons.begin(), buttons.end(), decision.label) != buttons.end();
}

std::vector<std::size_t> Judge::underWay() const {
  std::vector<std::size_t> found;
  const auto& decisions = ledger.decisions();
  for (std::size_t i = 0; i < decisions.size(); ++i) {
    if (decisions[i].delivered && decisions[i].answers.empty()) found.push_back(i);
  }
  return found;
}

// ---- What it ends with

void Judge::expectConvergence(const Phone& phone) {
  std::set<std::string> expected;
  for (const std::size_t number : life.open()) {
    const auto& content = life.appearances()[number].content;
    if (!content.buttons.empty()) expected.insert(content.title);  // Nothing can be decided about it otherwise.
  }
  std::set<std::string> shownTitles;
  for (const auto& approval : phone.shown()) {
    shownTitles.insert(approval.windowTitle);
    for (const std::size_t number : life.open()) {
      const auto& content = life.appearances()[number].content;
      if (content.title == approval.windowTitle && content.needsDirectAccess != approval.requiresDirectAccess) {
        stage.fail(phone.name(), " is told of \"", content.title, "\" that direct access is ",
                   approval.requiresDirectAccess ? "" : "not ", "required.");
      }
    }
  }
  const auto text = [](const std::set<std::string>& titles) {
    std::string joined;
    for (const auto& title : titles) joined += " \"" + title + "\"";
    return joined.empty() ? std::string(" nothing") : joined;
  };
  if (!phone.hasList()) return stage.fail(phone.name(), " has no list at all.");
  if (expected != shownTitles) {
    stage.fail(phone.name(), " shows", text(shownTitles), ", and on the screen is", text(expected), ".");
  }
}

// ---- What must stay secret

void Judge::expectNoSecrets(const std::string& text, const char* where) {
  for (const auto& [token, secrets] : identities.byToken()) {
    if (text.find(token) != std::string::npos) stage.fail("The bearer token stands in clear in ", where, ".");
    if (text.find(secrets.e2eSecret.text()) != std::string::npos) {
      stage.fail("The end-to-end secret stands in clear in ", where, ".");
    }
  }
  if (text.find(" volume ") != std::string::npos) stage.fail("A prompt's text stands in clear in ", where, ".");
}

void Judge::consoleLines(const std::vector<std::string>& printed) {
  linesPrinted += printed.size();
  for (const auto& line : printed) {
    stage.trace("console", line);
    expectNoSecrets(line, "the console");
  }
  const double hours = stage.now().count() / 3600;
  if (static_cast<double>(linesPrinted) > 400 + hours * 3000)
    stage.fail("The console was written ", linesPrinted, " lines.");
}

}  // namespace quillard::simulation
