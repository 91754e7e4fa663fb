#include "platform/simulated/SimulatedApplication.h"

#include <algorithm>
#include <utility>

namespace quillard::platform::simulated {

SimulatedApplication::SimulatedApplication(Executors& executors) : executors(executors) {}

void SimulatedApplication::setDelegate(std::weak_ptr<ApplicationDelegate> delegate) {
  life->delegate = std::move(delegate);
  executors.mainThread().post([life = life] {
    const auto told = life->delegate.lock();
    if (told && !life->hasEnded) told->applicationDidFinishLaunching();
  });
}

void SimulatedApplication::reopen(bool hasVisibleWindows) {
  executors.mainThread().post([life = life, hasVisibleWindows] {
    const auto told = life->delegate.lock();
    if (told && !life->hasEnded) life->reopenAnswer = told->applicationShouldHandleReopen(hasVisibleWindows);
  });
}

bool SimulatedApplication::chooseMenuItem(std::string_view title) {
  const auto item = std::find_if(items.begin(), items.end(),
                                 [&](const auto& candidate) { return !title.empty() && candidate.title == title; });
  if (item == items.end() || !item->isEnabled) return false;
  switch (item->action) {
    case ApplicationMenuAction::standardAboutPanel:
      ++aboutPanels;
      break;
    case ApplicationMenuAction::terminate:
      terminate();
      break;
    case ApplicationMenuAction::custom:
      if (item->onChoice) executors.mainThread().post(item->onChoice);
      break;
  }
  return true;
}

void SimulatedApplication::setActivationPolicy(ActivationPolicy newPolicy) {
  policy = newPolicy;
  policies.push_back(newPolicy);
}

void SimulatedApplication::terminate() {
  if (std::exchange(life->isEndRequested, true)) return;
  executors.mainThread().post([life = life] {
    if (const auto told = life->delegate.lock()) told->applicationWillTerminate();
    life->hasEnded = true;
  });
}

void SimulatedApplication::setApplicationMenu(const std::string& title, std::vector<ApplicationMenuItem> newItems) {
  itsMenuTitle = title;
  items = std::move(newItems);
}

}  // namespace quillard::platform::simulated
