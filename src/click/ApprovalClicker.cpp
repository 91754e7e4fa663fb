#include "click/ApprovalClicker.h"

#include <algorithm>
#include <utility>

namespace quillard {
namespace {

constexpr Seconds kFocusWait{0.2};
constexpr Seconds kSecondReadDelay{0.25};
constexpr Seconds kStopCheckInterval{0.05};  // How late a request to stop is noticed at most.

// Waits; false when the wait is not worth going on with.
using Wait = std::function<bool(Seconds)>;

std::optional<ResolvedDialogButton> focusedButton(DialogFocusResolver& focusResolver, const PendingApproval& approval,
                                                  const std::string& buttonLabel, const Wait& wait) {
  focusResolver.focusApplication(approval);
  if (!wait(kFocusWait)) return std::nullopt;
  if (auto button = focusResolver.resolveCurrentButton(approval, buttonLabel)) return button;
  if (!wait(kSecondReadDelay)) return std::nullopt;
  return focusResolver.resolveCurrentButton(approval, buttonLabel);
}

// In short sleeps, so that a request to stop is noticed.
bool waited(platform::Clock& clock, Seconds duration, const std::atomic<bool>& stopRequested) {
  const auto end = advanced(clock.monotonicNow(), duration);
  for (auto now = clock.monotonicNow(); now < end && !stopRequested; now = clock.monotonicNow()) {
    clock.sleep(std::min<Seconds>(end - now, kStopCheckInterval));
  }
  return !stopRequested;
}

}  // namespace

// One press, on the click queue. Its references outlive the queue's turns.
struct ApprovalClicker::Attempt {
  DialogDetector& detector;
  DialogFocusResolver& focusResolver;
  ClickDependencies dependencies;
  PendingApproval approval;
  std::string buttonLabel;
  ResolvedDialogButton button;
  std::shared_ptr<const std::atomic<bool>> stopRequested;

  [[nodiscard]] std::optional<ClickError> run() const {
    if (*stopRequested) return ClickError::promptStillPresent;
    return ClickExecutor::click(button, dependencies,
                                {.isPromptStillPresent = [this] { return detector.isPromptStillPresent(approval); },
                                 .refreshedButton =
                                     [this] {
                                       return focusedButton(
                                           focusResolver, approval, buttonLabel, [this](Seconds duration) {
                                             return waited(dependencies.clock, duration, *stopRequested);
                                           });
                                     },
                                 .shouldStop = [this] { return stopRequested->load(); }});
  }
};

ApprovalClicker::ApprovalClicker(DialogDetector& detector, DialogFocusResolver& focusResolver,
                                 const ClickDependencies& dependencies, platform::Executors& executors)
    : detector(detector),
      focusResolver(focusResolver),
      dependencies(dependencies),
      mainThread(executors.mainThread()),
      queue(executors.makeSerialQueue("quillard.click", platform::QualityOfService::standard)) {}

ApprovalClicker::~ApprovalClicker() {
  stop();
  queue.reset();
}

std::optional<ResolvedDialogButton> ApprovalClicker::focusAndResolve(const PendingApproval& approval,
                                                                     const std::string& buttonLabel) {
  return focusedButton(focusResolver, approval, buttonLabel, [this](Seconds duration) {
    dependencies.clock.sleep(duration);
    return true;
  });
}

void ApprovalClicker::click(const PendingApproval& approval, const std::string& buttonLabel,
                            const ResolvedDialogButton& button, Completion completion) {
  stopRequested = std::make_shared<std::atomic<bool>>(false);
  const auto attempt = std::make_shared<const Attempt>(
      Attempt{detector, focusResolver, dependencies, approval, buttonLabel, button, stopRequested});
  queue->post([attempt, completion = std::move(completion), &mainThread = mainThread] {
    mainThread.post([completion, error = attempt->run()] { completion(error); });
  });
}

void ApprovalClicker::stop() {
  if (stopRequested) *stopRequested = true;
}

}  // namespace quillard
