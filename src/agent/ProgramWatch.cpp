#include "agent/ProgramWatch.h"

#include <utility>

namespace quillard {
namespace {

constexpr Seconds kLookInterval{10};
constexpr Seconds kLongestInterval{60};
// Nothing comes of it but a new note, and nearly always with a window that comes or goes.
constexpr Seconds kIntervalWithoutAny{300};
constexpr Seconds kProblemTime{30};

}  // namespace

ProgramWatch::ProgramWatch(const ProgramWatchDependencies& dependencies, std::function<void()> onChange)
    : dependencies(dependencies), onChange(std::move(onChange)) {}

ProgramWatch::~ProgramWatch() = default;

const ProgramReadability& ProgramWatch::newest() {
  const bool mayBeNew = haveWindowsChanged || !known.problem.empty();
  const auto atRest = known.unreadable.empty() ? kIntervalWithoutAny : kLongestInterval;
  const auto interval = mayBeNew ? kLookInterval : atRest;
  const bool isDue = !lastLook || dependencies.clock.monotonicNow() - *lastLook >= interval;
  if (isDue && !isLooking) look({});
  return known;
}

void ProgramWatch::makeReadable(const std::string& entry) { change(&platform::ReadableStarts::change, entry); }

void ProgramWatch::undo(const std::string& entry) { change(&platform::ReadableStarts::undo, entry); }

void ProgramWatch::change(Change how, const std::string& entry) {
  lastChange = dependencies.clock.monotonicNow();
  look([starts = dependencies.readableStarts, how, entry] { return (starts->*how)(entry).value_or(""); });
}

void ProgramWatch::look(std::function<std::string()> change) {
  if (!dependencies.readableStarts || isStopped) return;
  if (!queue) {
    queue = dependencies.executors.makeSerialQueue("quillard.programs", platform::QualityOfService::standard);
  }
  if (!windowSubscription) {
    windowSubscription = dependencies.windowList.observeChanges([this] { haveWindowsChanged = true; });
  }
  isLooking = true;
  haveWindowsChanged = false;
  lastLook = dependencies.clock.monotonicNow();
  const bool isRecent = lastChange && *lastLook - *lastChange < kProblemTime;
  queue->post([this, change = std::move(change), kept = isRecent ? known.problem : std::string(),
               then = callbacks.bind([this](const ProgramReadability& read) { found(read); })] {
    ProgramReadability read{.unreadable = {}, .changed = {}, .problem = change ? change() : kept};
    auto unreadable = dependencies.capabilities.unreadablePrograms();
    if (unreadable.isKnown()) read.unreadable = unreadable.value();
    read.changed = dependencies.readableStarts->changed();
    dependencies.executors.mainThread().post([then, read = std::move(read)] { then(read); });
  });
}

void ProgramWatch::found(ProgramReadability readability) {
  isLooking = false;
  if (readability == known) return;
  haveWindowsChanged = true;  // More may follow.
  known = std::move(readability);
  onChange();
}

}  // namespace quillard
