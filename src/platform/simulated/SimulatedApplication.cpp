#include "platform/simulated/SimulatedApplication.h"

#include <algorithm>
#include <utility>

namespace quillard::platform::simulated {

SimulatedApplication::SimulatedApplication(Executors& executors) : executors(executors) {}

void SimulatedApplication::setOnWillTerminate(std::function<void()> onWillTerminate) {
  end->onWillTerminate = std::move(onWillTerminate);
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
  if (std::exchange(end->isRequested, true)) return;
  executors.mainThread().post([end = end] {
    if (end->onWillTerminate) end->onWillTerminate();
    end->hasCome = true;
  });
}

void SimulatedApplication::setApplicationMenu(const std::string& title, std::vector<ApplicationMenuItem> newItems) {
  itsMenuTitle = title;
  items = std::move(newItems);
}

}  // namespace quillard::platform::simulated
