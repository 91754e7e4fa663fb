#include "questions/Questions.h"

#include <algorithm>
#include <utility>

#include "foundation/PrintableText.h"

namespace quillard {
namespace {

constexpr Seconds kMinute{60};
constexpr std::size_t kLongestName = 1000;
constexpr const char* kRole = "AXButton";
constexpr const char* kHasEnded = "a program that has ended";
constexpr const char* kNeedsComputer = "The program wants this to be answered at the computer.";

// A tool of ours speaks for whoever started it, and never for itself: whoever has ended is nobody.
platform::ProcessDescription askingProcess(const platform::LocalPeer& peer) {
  return peer.isThisProgram ? peer.parent.value_or(platform::ProcessDescription{}) : peer.process;
}

// Names of files may be any bytes.
std::string shown(std::string_view name) { return printableText(name, kLongestName); }

// Those that have ended count as one program, which no number of processes evades.
std::string programOf(const platform::ProcessDescription& process) {
  return process.executable.empty() ? kHasEnded : process.executable + " " + process.programName;
}

// A service goes by its own name, and not by that of whatever runs all of them.
bool isService(const platform::ProcessDescription& process) {
  return !process.programName.empty() && !process.executable.ends_with("/" + process.programName);
}

// The first line that a person reads, so that no text of the program stands before it.
std::string whoAsks(const platform::ProcessDescription& process) {
  std::string line = "Asked by ";
  if (isService(process)) line += shown(process.programName) + ", a service of ";
  line += process.executable.empty() ? kHasEnded : shown(process.executable);
  if (process.processIdentifier != 0) line += ", process " + std::to_string(process.processIdentifier);
  if (!process.workingFolder.empty()) line += ", in " + shown(process.workingFolder);
  return line;
}

}  // namespace

Questions::Questions(const QuestionsDependencies& dependencies, QuestionsCallbacks callbacks)
    : dependencies(dependencies), callbacks(std::move(callbacks)) {}

// ---- Asking

std::variant<Uuid, QuestionEnd> Questions::ask(const platform::LocalPeer& peer, const QuestionRequest& request,
                                               QuestionEvents events) {
  const auto process = askingProcess(peer);
  const std::string program = programOf(process);
  if (const auto refused = refusal(program, request)) return *refused;
  const Uuid kind = kindOf(program);
  lastMinute.push_back({program, dependencies.clock.monotonicNow()});
  const Uuid id = Uuid::fromRandomBytes(dependencies.random.identityBytes());
  questions.push_back({.id = id,
                       .program = program,
                       .kind = kind,
                       .request = request,
                       .events = std::move(events),
                       .endsAt = advanced(dependencies.clock.monotonicNow(), request.timeout)});
  auto& question = questions.back();
  question.sawPhone = callbacks.phoneReach() == PhoneReach::there;
  question.timeout = dependencies.mainThread.postAfter(request.timeout, [this, id] { timedOut(id); });
  dependencies.store.addAsked(approvalOf(question, process));
  callbacks.onChanged();
  return id;
}

std::optional<Instant> Questions::endOf(const Uuid& id) const {
  const auto found =
      std::find_if(questions.begin(), questions.end(), [&](const Question& one) { return one.id == id; });
  if (found == questions.end() || found->onTaken) return std::nullopt;
  return found->endsAt;
}

std::optional<QuestionEnd> Questions::refusal(const std::string& program, const QuestionRequest& request) {
  if (isStopped) return QuestionEnd::stopping;
  if (isTooMany(program)) return QuestionEnd::tooMany;
  if (const auto kind = kinds.find(program); kind != kinds.end() && isMuted(kind->second)) return QuestionEnd::muted;
  if (callbacks.isPaused()) return QuestionEnd::paused;
  // What is answered at the computer needs no phone.
  if (!request.needsComputer && callbacks.phoneReach() == PhoneReach::none) return QuestionEnd::noPhone;
  return std::nullopt;
}

bool Questions::isTooMany(const std::string& program) {
  const Instant now = dependencies.clock.monotonicNow();
  while (!lastMinute.empty() && now - lastMinute.front().at >= kMinute) lastMinute.pop_front();
  const auto ofProgram = [&](const auto& one) { return one.program == program; };
  const auto count = [&](const auto& list) {
    return static_cast<std::size_t>(std::count_if(list.begin(), list.end(), ofProgram));
  };
  return questions.size() >= kMostOpen || count(questions) >= kMostOpenOfAProgram ||
         lastMinute.size() >= kMostOfAllInAMinute || count(lastMinute) >= kMostInAMinute;
}

bool Questions::isMuted(const Kind& kind) const { return dependencies.suppressions.contains(kind.id); }

const Uuid& Questions::kindOf(const std::string& program) {
  auto known = kinds.find(program);
  if (known == kinds.end()) {
    if (kinds.size() >= kMostKinds) forgetAKind();
    known = kinds.emplace(program, Kind{Uuid::fromRandomBytes(dependencies.random.identityBytes()), {}}).first;
  }
  known->second.askedAt = dependencies.clock.monotonicNow();
  return known->second.id;
}

std::string Questions::programAsking(const Uuid& kind) const {
  const auto found = std::find_if(kinds.begin(), kinds.end(), [&](const auto& one) { return one.second.id == kind; });
  return found == kinds.end() ? std::string() : found->first;
}

void Questions::remember(const std::string& program, const Uuid& kind) {
  if (kinds.size() < kMostKinds) kinds.emplace(program, Kind{kind, dependencies.clock.monotonicNow()});
}

void Questions::forgetAKind() {
  const auto rank = [this](const auto& entry) { return std::pair(isMuted(entry.second), entry.second.askedAt); };
  kinds.erase(std::min_element(kinds.begin(), kinds.end(),
                               [&](const auto& one, const auto& other) { return rank(one) < rank(other); }));
}

PendingApproval Questions::approvalOf(const Question& question, const platform::ProcessDescription& process) {
  const auto& request = question.request;
  PendingApproval approval{.id = question.id,
                           .detectedAt = dependencies.clock.now(),
                           .appName = process.programName.empty() ? "A program" : shown(process.programName),
                           .processIdentifier = process.processIdentifier,
                           .windowTitle = request.question,
                           .windowRole = "Question",
                           .messageLines = {whoAsks(process)},
                           .reason = "a program asks"};
  if (!process.executable.empty()) approval.bundleIdentifier = shown(process.executable);
  approval.messageLines.insert(approval.messageLines.end(), request.lines.begin(), request.lines.end());
  for (const auto& button : request.buttons) {
    const bool isDefault = request.answerOnTimeout == button.label;
    approval.buttons.push_back(
        {.label = button.label, .role = kRole, .isKnownDismissal = button.dismisses || isDefault});
  }
  approval.recommendedButtonLabel = request.recommended;
  approval.requiresDirectAccess = request.needsComputer;
  if (request.needsComputer) approval.directAccessReason = kNeedsComputer;
  approval.isAsked = true;
  return PendingApproval::make(std::move(approval), question.kind);
}

// ---- Answering

bool Questions::answer(const Uuid& id, std::string_view label, AnsweredBy by, std::function<void(bool)> onTaken) {
  const auto place = find(id);
  if (place == questions.end() || place->onTaken || !place->request.hasButton(label)) return false;
  deliver(*place, label, by, std::move(onTaken));
  return true;
}

void Questions::deliver(Question& question, std::string_view label, AnsweredBy by, std::function<void(bool)> onTaken) {
  const auto& buttons = question.request.buttons;
  const auto button = std::find_if(buttons.begin(), buttons.end(), [&](const auto& one) { return one.label == label; });
  question.onTaken = std::move(onTaken);
  question.timeout = dependencies.mainThread.postAfter(kTakeTimeout, [this, id = question.id] { takeBack(id); });
  const QuestionAnswer answer{button->label, static_cast<std::size_t>(button - buttons.begin()), by};
  question.answer = answer;
  const auto told = question.events.onAnswer;
  told(answer);
}

bool Questions::taken(const Uuid& id) {
  const auto place = find(id);
  if (place == questions.end() || !place->onTaken) return false;
  remove(place, /*wasTaken=*/true);
  return true;
}

void Questions::takeBack(const Uuid& id) {
  const auto place = find(id);
  if (place != questions.end() && place->onTaken) end(place, QuestionEnd::notTaken);
}

// ---- The end

void Questions::withdraw(const Uuid& id) {
  const auto place = find(id);
  if (place != questions.end()) remove(place, /*wasTaken=*/false);
}

void Questions::timedOut(const Uuid& id) {
  const auto place = find(id);
  if (place == questions.end()) return;
  if (place->request.answerOnTimeout) {
    const std::string label = *place->request.answerOnTimeout;
    return deliver(*place, label, AnsweredBy::timeout, [](bool) {});
  }
  const bool wasReached = place->sawPhone || callbacks.wasPhoneWoken(id);
  end(place, wasReached || place->request.needsComputer ? QuestionEnd::timedOut : QuestionEnd::noPhone);
}

void Questions::phonesChanged() {
  if (questions.empty() || callbacks.phoneReach() != PhoneReach::there) return;
  for (auto& question : questions) question.sawPhone = true;
}

void Questions::mute(const Uuid& suppressionID) {
  for (auto place = questions.begin(); place != questions.end();) {
    const auto next = std::next(place);
    if (place->kind == suppressionID && !place->onTaken) end(place, QuestionEnd::muted);
    place = next;
  }
}

void Questions::stop() {
  isStopped = true;
  while (!questions.empty()) end(questions.begin(), QuestionEnd::stopping);
}

void Questions::end(Place place, QuestionEnd why) {
  const auto told = place->events.onEnd;
  remove(place, /*wasTaken=*/false, why);
  told(why);
}

void Questions::remove(Place place, bool wasTaken, std::optional<QuestionEnd> end) {
  auto onTaken = std::move(place->onTaken);
  const auto id = place->id;
  const auto answer = place->answer;
  dependencies.store.remove(id, Seconds::zero());
  questions.erase(place);
  callbacks.onOver(id, answer, wasTaken, end);
  if (onTaken) {
    dependencies.mainThread.post(scope.bind([onTaken = std::move(onTaken), wasTaken] { onTaken(wasTaken); }));
  }
  if (!isStopped) callbacks.onChanged();
}

Questions::Place Questions::find(const Uuid& id) {
  return std::find_if(questions.begin(), questions.end(), [&](const auto& one) { return one.id == id; });
}

}  // namespace quillard
