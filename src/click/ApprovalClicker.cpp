#include "click/ApprovalClicker.h"

#include <utility>

namespace quillard {
namespace {

// The approval as the one appearance in whose window the button was found.
PendingApproval tied(PendingApproval approval, const ResolvedDialogButton& button) {
  approval.window = button.promptWindow.element;
  return approval;
}

}  // namespace

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

PromptResolution ApprovalClicker::focusAndResolve(const PendingApproval& approval, const std::string& buttonLabel) {
  return focusResolver.focusAndResolve(approval, buttonLabel, [this](Seconds duration) {
    dependencies.clock.sleep(duration);
    return true;
  });
}

void ApprovalClicker::click(const PendingApproval& approval, const std::string& buttonLabel,
                            const ResolvedDialogButton& button, Completion completion) {
  stopRequested = std::make_shared<std::atomic<bool>>(false);
  queue->post([&detector = detector, &focusResolver = focusResolver, dependencies = dependencies,
               &mainThread = mainThread, stop = stopRequested, prompt = tied(approval, button), buttonLabel, button,
               completion = std::move(completion)] {
    const auto shouldStop = [&stop] { return stop->load(); };
    const auto sleep = [&](Seconds duration) {
      return ClickExecutor::sleepUnlessStopped(dependencies.clock, duration, shouldStop);
    };
    const auto error = ClickExecutor::click(
        button, dependencies,
        {.presence = [&] { return detector.presenceOf(prompt, button.promptWindow); },
         .refreshedButton = [&] { return focusResolver.focusAndResolve(prompt, buttonLabel, sleep); },
         .shouldStop = shouldStop});
    mainThread.post([completion, error] { completion(error); });
  });
}

void ApprovalClicker::stop() {
  if (stopRequested) *stopRequested = true;
}

}  // namespace quillard
