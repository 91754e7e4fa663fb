#include "simulation/RunningApplications.h"

#include <algorithm>
#include <utility>

namespace quillard::simulation {

namespace ax = platform::ax;
using platform::simulated::ApplicationHandle;

void RunningApplications::remove(ApplicationHandle application) {
  std::erase_if(applications, [&](const Application& other) { return other.handle == application; });
}

void RunningApplications::impair(ApplicationHandle handle, Seconds duration) {
  Application* const application = find(handle);
  if (!application) return;
  if (!application->impairedUntil) {
    application->impairedBefore = application->lastImpaired;
    application->impairmentBegan = stage.now();
  }
  application->impairedUntil = stage.now() + duration;
  application->lastImpaired = stage.now();
  stage.later(duration, [this, handle] {
    if (Application* const later = find(handle)) calmDown(*later);
  });
}

void RunningApplications::calmDown(Application& application) {
  if (application.impairedUntil) {
    application.lastImpaired = stage.now();
    stage.trace("desktop", "process ", application.handle.processIdentifier, " answers again");
  }
  application.impairedUntil.reset();
  stage.desktop().unhang(application.handle);
  stage.desktop().slow(application.handle, Seconds::zero());
  stage.desktop().unhide(application.handle);
  stage.desktop().removeAttribute(application.handle, ax::kWindows);
}

void RunningApplications::calmDown() {
  for (Application& application : applications) calmDown(application);
}

bool RunningApplications::allAnsweredSince(Seconds time) const {
  return std::all_of(applications.begin(), applications.end(), [&](const Application& application) {
    return !application.impairedUntil && (!application.lastImpaired || *application.lastImpaired < time);
  });
}

bool RunningApplications::answeredSince(ApplicationHandle handle, Seconds time) const {
  const Application* const application = find(handle);
  if (!application) return true;
  return !application->impairedUntil && (!application->lastImpaired || *application->lastImpaired < time);
}

bool RunningApplications::answeredBetween(ApplicationHandle handle, Seconds from, Seconds until) const {
  if (answeredSince(handle, from)) return true;
  const Application* const application = find(handle);
  return application && application->impairmentBegan >= until &&
         (!application->impairedBefore || *application->impairedBefore < from);
}

RunningApplications::Application* RunningApplications::find(ApplicationHandle application) {
  return const_cast<Application*>(std::as_const(*this).find(application));
}

const RunningApplications::Application* RunningApplications::find(ApplicationHandle application) const {
  const auto found = std::find_if(applications.begin(), applications.end(),
                                  [&](const Application& other) { return other.handle == application; });
  return found == applications.end() ? nullptr : &*found;
}

}  // namespace quillard::simulation
