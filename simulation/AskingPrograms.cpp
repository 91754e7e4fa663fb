#include "simulation/AskingPrograms.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "questions/QuestionTexts.h"
#include "relay/RelayCommands.h"

namespace quillard::simulation {

using platform::simulated::SimulatedLocalSockets;

namespace {

constexpr std::uint64_t kStream = 50;
constexpr std::size_t kPrograms = 3;
constexpr int kFlood = 40;
// A question is asked anew by who finds another agent, and each asker allows for lateness.
constexpr Seconds kSlack{1};

constexpr std::string_view kBegin = "Shall program ";

std::string questionText(std::size_t program, std::size_t number) {
  return std::string(kBegin) + std::to_string(program) + " go on with " + std::to_string(number) + "?";
}

// The number in such a text. Absent: it is none.
std::optional<std::size_t> numberIn(std::string_view text) {
  if (!text.starts_with(kBegin)) return std::nullopt;
  const auto begin = text.rfind(' ');
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data() + begin + 1, text.data() + text.size(), number);
  return error == std::errc{} ? std::optional{number} : std::nullopt;
}

platform::LocalPeer peerOf(std::size_t program) {
  const std::string name = "job" + std::to_string(program);
  return {.process = {.processIdentifier = static_cast<std::int32_t>(7000 + program),
                      .executable = "/usr/bin/" + name,
                      .programName = name,
                      .workingFolder = "/srv"},
          .parent = {}};
}

}  // namespace

struct AskingPrograms::Asked {
  std::size_t program = 0;
  QuestionRequest request;
  Seconds at{0};
  std::unique_ptr<SimulatedLocalSockets> sockets;
  // One of both; empty once it has ended or was killed.
  std::unique_ptr<QuestionAsker> asker{};
  std::unique_ptr<SlowProgram> slow{};
  std::optional<std::string> taken{};    // What it was told. It may not have counted.
  std::set<std::string> atComputer{};    // Labels that were chosen there.
  std::optional<std::string> actedOn{};  // What a phone chose, and its program acts on.
  std::optional<Seconds> over{};         // When it had ended, or its program was killed.
  bool hasEnded = false;
  bool wasKilled = false;
};

AskingPrograms::AskingPrograms(Stage& stage, Ledger& ledger, const AgentProcess& process, std::uint64_t seed)
    : stage(stage),
      ledger(ledger),
      process(process),
      chance(seed, kStream),
      personsSockets(stage.world.socketFolder(), stage.world.time().mainThread(), peerOf(kPrograms)) {}

AskingPrograms::~AskingPrograms() = default;

// ---- What happens

void AskingPrograms::tick(bool isConnected) {
  if (!isConnected) onList.clear();
  if (process.isPaused()) pausedAt = stage.now();
  expectEndsInTime();
  expectNothingThatIsOver();
  if (isCalm || stage.now() < nextAt) return;
  nextAt = stage.now() + chance.seconds(0.3, 4);
  const auto kind = chance.below(20);
  if (kind < 11) ask(chance.below(kPrograms));
  if (kind >= 11 && kind < 14) killOne();
  if (kind >= 14 && kind < 19) answerAtComputer();
  if (kind == 19 && chance.oneIn(3)) {
    ++counts["floods"];
    const auto program = chance.below(kPrograms);
    for (int i = 0; i < kFlood; ++i) ask(program);
  }
}

void AskingPrograms::ask(std::size_t program) {
  const std::size_t number = questions.size();
  auto& asked = *questions.emplace_back(std::make_unique<Asked>());
  asked.program = program;
  asked.at = stage.now();
  asked.request = {.question = questionText(program, number),
                   .lines = {},
                   .buttons = {{"Go on"}, {"Wait"}, {"Stop", /*dismisses=*/true}},
                   .recommended = {},
                   .answerOnTimeout = chance.oneIn(3) ? std::optional<std::string>("Stop") : std::nullopt,
                   .timeout = chance.seconds(2, 30),
                   .needsComputer = chance.oneIn(6)};
  asked.sockets = std::make_unique<SimulatedLocalSockets>(stage.world.socketFolder(), stage.world.time().mainThread(),
                                                          peerOf(program));
  stage.trace("program", program, " asks \"", asked.request.question, "\"");
  waiting.insert(number);
  QuestionAskerEvents events{.take = [this, number](const AskOutcome& outcome) { return took(number, outcome); },
                             .onOutcome = [this, number](const AskOutcome& outcome) { ended(number, outcome); }};
  if (chance.oneIn(4)) {
    asked.slow = std::make_unique<SlowProgram>(stage, *asked.sockets, asked.request, chance.seconds(0.1, 7), events);
    return;
  }
  asked.asker = std::make_unique<QuestionAsker>(
      QuestionAskerDependencies{*asked.sockets, stage.world.time().mainThread(), stage.world.time()}, asked.request,
      events);
}

void AskingPrograms::killOne() {
  if (waiting.empty()) return;
  const std::size_t number = *std::next(waiting.begin(), static_cast<std::ptrdiff_t>(chance.below(waiting.size())));
  auto& asked = *questions[number];
  stage.trace("program", asked.program, " is killed, and does not wait for ", number, " any more");
  asked.wasKilled = true;
  asked.over = stage.now();
  asked.sockets->endProcess();
  asked.asker.reset();
  asked.slow.reset();
  waiting.erase(number);
  ++counts["killed"];
}

// Lists what waits, and answers one of it.
void AskingPrograms::answerAtComputer() {
  person = std::make_unique<ChannelClient>(
      personsSockets, ChannelClientEvents{.onMessage = [this](const ChannelMessage& message) { answerOneOf(message); },
                                          .onEnd = [] {}});
  (void)person->open();
  person->send(channelLine("questions"));
}

void AskingPrograms::answerOneOf(const ChannelMessage& list) {
  const auto found = list.json.value("questions", Json::array());
  if (list.type != "questions" || found.empty()) return;
  const auto& one = found[chance.below(found.size())];
  const auto number = numberIn(one.value("question", std::string{}));
  if (!number) return;
  const auto& labels = one["buttons"];
  const auto label = labels[chance.below(labels.size())].get<std::string>();
  stage.trace("person", "answers ", *number, " at the computer: \"", label, "\"");
  questions[*number]->atComputer.insert(label);
  // A connection carries one request. It is sent in a turn of its own, since this one belongs to the former.
  stage.later(Seconds{0.01}, [this, id = one["id"], label] {
    person = std::make_unique<ChannelClient>(personsSockets,
                                             ChannelClientEvents{.onMessage = [](const auto&) {}, .onEnd = [] {}});
    (void)person->open();
    person->send(channelLine("answer", {{"id", id}, {"label", label}}));
  });
}

// ---- What the programs are told

bool AskingPrograms::took(std::size_t number, const AskOutcome& outcome) {
  auto& asked = *questions[number];
  stage.trace("program", asked.program, " is told \"", outcome.label, "\" for ", number);
  if (asked.taken) stage.fail("Question ", number, " was answered twice.");
  asked.taken = outcome.label;
  judgeOutcome(asked, outcome);
  return true;
}

void AskingPrograms::ended(std::size_t number, const AskOutcome& outcome) {
  auto& asked = *questions[number];
  if (asked.hasEnded) stage.fail("Question ", number, " ended twice.");
  if (asked.wasKilled) stage.fail("Question ", number, " ended for a program that had been killed.");
  asked.hasEnded = true;
  asked.over = stage.now();
  waiting.erase(number);
  std::string how = "notTaken";
  if (outcome.kind == AskOutcome::Kind::answered) how = outcome.by;
  if (outcome.kind == AskOutcome::Kind::ended) how = QuestionTexts::name(outcome.end);
  if (outcome.kind == AskOutcome::Kind::noAgent) how = "noAgent";
  if (outcome.kind == AskOutcome::Kind::refused) stage.fail("Question ", number, " was refused: ", outcome.message);
  ++counts[how];
  stage.trace("program", asked.program, " learns how ", number, " ended: ", how);
  if (outcome.kind == AskOutcome::Kind::answered && asked.taken != outcome.label) {
    stage.fail("Question ", number, " ended with \"", outcome.label, "\", which its program did not take.");
  }
  judgeEnd(asked, outcome);
  if (outcome.kind == AskOutcome::Kind::answered && outcome.by == "phone") asked.actedOn = outcome.label;
  for (const auto& decision : ledger.decisions()) {
    if (!decision.answers.empty()) expectAgreement(number, decision, decision.answers.front().status);
  }
  stage.later(Seconds::zero(), [&asked] {
    asked.asker.reset();
    asked.slow.reset();
  });
}

bool AskingPrograms::wasTapped(std::size_t number, const std::string& label) const {
  const auto& decisions = ledger.decisions();
  return std::any_of(decisions.begin(), decisions.end(), [&](const TapDecision& one) {
    const auto identity = identityOf.find(number);
    return identity != identityOf.end() && identity->second == one.approvalID && one.label == label &&
           one.delivered.has_value();
  });
}

void AskingPrograms::judgeOutcome(const Asked& asked, const AskOutcome& outcome) {
  const auto number = numberIn(asked.request.question).value();
  const auto fail = [&](const char* why) {
    stage.fail("Question ", number, " was answered with \"", outcome.label, "\" (", outcome.by, "), and ", why);
  };
  if (outcome.by == "phone") {
    if (!wasTapped(number, outcome.label)) fail("no phone had chosen that.");
    if (asked.request.needsComputer && outcome.label != "Stop") fail("only the computer could choose that.");
  } else if (outcome.by == "computer") {
    if (!asked.atComputer.contains(outcome.label)) fail("nobody had chosen that at the computer.");
  } else if (asked.request.answerOnTimeout != outcome.label) {
    fail("that was not the answer for nobody.");
  } else if (stage.awakeSince(asked.at) < asked.request.timeout - kSlack) {
    fail("its time was not over.");
  }
}

// What a program says by its exit status.
void AskingPrograms::judgeEnd(const Asked& asked, const AskOutcome& outcome) {
  const auto number = numberIn(asked.request.question).value();
  const auto fail = [&](const char* why) { stage.fail("Question ", number, " ended ", why); };
  const bool agentWasThere = process.isRunning() && !process.isQuitting() && process.startedAt() <= asked.at;
  const bool wasPaused = process.isPaused() || process.mayStartPaused() || pausedAt >= asked.at - kSlack;
  if (outcome.kind == AskOutcome::Kind::noAgent && agentWasThere) return fail("for want of an agent, which is there.");
  if (outcome.kind != AskOutcome::Kind::ended) return;
  switch (outcome.end) {
    case QuestionEnd::timedOut:
      if (stage.awakeSince(asked.at) < asked.request.timeout - kSlack) fail("as timed out, and its time is not over.");
      return;
    case QuestionEnd::paused:
      if (!wasPaused) fail("as paused, and nothing was.");
      return;
    case QuestionEnd::muted:
      if (!mayBeMuted(asked)) fail("as muted, and its program was not.");
      return;
    case QuestionEnd::tooMany:
      if (!mayBeTooMany(asked)) fail("as one too many, and few were asked.");
      return;
    case QuestionEnd::noPhone:
      if (!mayEndWithoutPhone(asked))
        fail("for want of a phone, neither when it was asked nor when its time was over.");
      return;
    case QuestionEnd::stopping:
    case QuestionEnd::notTaken:
      return;
  }
}

// Refused, by this agent or the one before it, or waited for in vain.
bool AskingPrograms::mayEndWithoutPhone(const Asked& asked) const {
  const Seconds waited = stage.awakeSince(asked.at);
  return process.startedAt() > asked.at || waited <= kSlack || waited >= asked.request.timeout - kSlack;
}

bool AskingPrograms::mayBeMuted(const Asked& asked) const {
  return std::any_of(mutedKinds.begin(), mutedKinds.end(), [&](const Uuid& kind) {
    const auto program = programOfKind.find(kind);
    return program != programOfKind.end() && program->second == asked.program;
  });
}

// By all that was asked, whether the agent took it or not.
bool AskingPrograms::mayBeTooMany(const Asked& asked) const {
  constexpr Seconds kMinute{60};
  std::size_t ofProgram = 0;
  std::size_t all = 0;
  for (const auto& other : questions) {
    const bool isRecent = !other->over || stage.awakeSince(other->at) <= kMinute + kSlack;
    if (!isRecent || other.get() == &asked) continue;
    ++all;
    if (other->program == asked.program) ++ofProgram;
  }
  return ofProgram >= std::min(Questions::kMostOpenOfAProgram, Questions::kMostInAMinute) ||
         all >= std::min(Questions::kMostOpen, Questions::kMostOfAllInAMinute);
}

// The agent is connected, as far as the relay knows, and has said nothing newer. Looking for the buttons of a program
// that is silent keeps it from everything else, for so long for each decision.
void AskingPrograms::expectNothingThatIsOver() {
  constexpr Seconds kSearch{1.1};
  constexpr Seconds kRecent{10};
  if (!process.isRunning()) return;
  const auto& decisions = ledger.decisions();
  const auto searches = std::count_if(decisions.begin(), decisions.end(), [&](const TapDecision& one) {
    return one.delivered && stage.awakeSince(*one.delivered) <= kRecent;
  });
  const Seconds leaves = Seconds{1} + static_cast<double>(searches) * kSearch;
  for (const std::size_t number : onList) {
    const auto& over = questions[number]->over;
    if (!over || stage.awakeSince(*over) <= leaves) continue;
    return stage.fail("Question ", number, " is over for ", stage.awakeSince(*over).count(), " s, and still listed.");
  }
}

void AskingPrograms::expectEndsInTime() {
  for (const std::size_t number : waiting) {
    const auto& asked = *questions[number];
    const Seconds latest = asked.request.timeout + QuestionAsker::kAgentTimeout + QuestionAsker::kLateness +
                           QuestionAsker::kConfirmTimeout + kSlack;
    if (stage.awakeSince(asked.at) <= latest) continue;
    return stage.fail("Question ", number, " has had no end for ", stage.awakeSince(asked.at).count(), " s.");
  }
}

void AskingPrograms::expectAllEnded() {
  for (const std::size_t number : waiting) stage.fail("Question ", number, " has no end after a quiet time.");
}

// ---- What the agent says of them

bool AskingPrograms::isQuestion(const PendingApproval& approval) { return numberIn(approval.windowTitle).has_value(); }

void AskingPrograms::listed(const std::vector<PendingApproval>& approvals) {
  std::map<std::string, std::size_t> ofProgram;
  std::size_t all = 0;
  onList.clear();
  for (const auto& approval : approvals) {
    const auto number = numberIn(approval.windowTitle);
    if (!number || *number >= questions.size()) {
      stage.fail("The list names a question that nobody asked: \"", approval.windowTitle, "\".");
      continue;
    }
    if (questionOf.emplace(approval.id, *number).second && identityOf.contains(*number)) ++counts["askedAnew"];
    identityOf[*number] = approval.id;
    programOfKind.emplace(approval.suppressionID, questions[*number]->program);
    if (!onList.insert(*number).second) stage.fail("The list names question ", *number, " twice.");
    ++all;
    ++ofProgram[approval.appName];
  }
  if (all > Questions::kMostOpen) stage.fail("The list names ", all, " questions.");
  for (const auto& [program, count] : ofProgram) {
    if (count > Questions::kMostOpenOfAProgram) stage.fail("The list names ", count, " questions of ", program, ".");
  }
}

void AskingPrograms::judgeAnswer(const TapDecision& decision, const std::string& status) {
  const std::size_t number = questionOf.at(decision.approvalID);
  expectAgreement(number, decision, status);
  if (status != kAcceptedStatus) return;
  if (questions[number]->taken != decision.label) {
    stage.fail(decision.id, " was accepted, and the program of question ", number, " did not take \"", decision.label,
               "\".");
  }
  const auto& first = accepted.emplace(number, decision.label).first->second;
  if (first != decision.label) stage.fail("Two answers to question ", number, " were accepted.");
}

void AskingPrograms::expectAgreement(std::size_t number, const TapDecision& decision, const std::string& status) {
  const auto& label = questions[number]->actedOn;
  const auto identity = identityOf.find(number);
  if (status != kFailedStatus || !label || identity == identityOf.end()) return;
  // What an earlier process did, the next one does not know.
  if (*questions[number]->over < process.startedAt()) return;
  const auto isSuchATap = [&](const TapDecision& one) {
    return one.approvalID == identity->second && one.label == *label && one.delivered.has_value();
  };
  const auto& decisions = ledger.decisions();
  if (!isSuchATap(decision) || std::count_if(decisions.begin(), decisions.end(), isSuchATap) != 1) return;
  stage.fail(decision.id, " was told that it failed, and the program of question ", number, " acts on it.");
}

}  // namespace quillard::simulation
