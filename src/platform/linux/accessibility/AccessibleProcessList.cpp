#include "platform/linux/accessibility/AccessibleProcessList.h"

#include <algorithm>
#include <utility>

namespace quillard::atspi {
namespace {

constexpr std::chrono::seconds kRetryInterval{1};

// A program is on the list from the moment at which the registry takes it in, a little after it has connected; it may
// leave without a word.
const std::vector<std::string>& membershipRules() {
  static const std::vector<std::string> rules{
      "type='signal',interface='org.a11y.atspi.Event.Object',member='ChildrenChanged',"
      "path='/org/a11y/atspi/accessible/root',sender='org.a11y.atspi.Registry'",
      "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',member='NameOwnerChanged',"
      "arg2=''"};
  return rules;
}

}  // namespace

AccessibleProcessList::AccessibleProcessList(AccessibleApplications& applications, BusWatch::FindAddress findBus,
                                             platform::SerialExecutor& mainThread)
    : applications(applications),
      observers(std::move(findBus), membershipRules(), mainThread, [this] { return refresh(); }),
      ownSubscription(observers.add([] {})) {
  refresh();
}

std::vector<std::int32_t> AccessibleProcessList::processIdentifiers() {
  refreshIfOutdated();
  const MutexLock lock(mutex);
  return present;
}

bool AccessibleProcessList::isPresentNow(std::int32_t processIdentifier) {
  const auto now = applications.processIdentifiers();
  const MutexLock lock(mutex);
  const auto& known = now ? *now : present;
  return std::find(known.begin(), known.end(), processIdentifier) != known.end();
}

platform::SubscriptionHandle AccessibleProcessList::observe(std::function<void()> onChange) {
  return observers.add(std::move(onChange));
}

void AccessibleProcessList::refreshIfOutdated() {
  {
    const MutexLock lock(mutex);
    const auto now = std::chrono::steady_clock::now();
    if (!unansweredSince || now - *unansweredSince < kRetryInterval) return;
    unansweredSince = now;  // Those who read meanwhile do not ask, too.
  }
  if (refresh()) observers.tell();
}

bool AccessibleProcessList::refresh() {
  auto now = applications.processIdentifiers();
  const MutexLock lock(mutex);
  if (!now) {
    unansweredSince = std::chrono::steady_clock::now();
    return false;
  }
  unansweredSince.reset();
  return std::exchange(present, *now) != *now;
}

}  // namespace quillard::atspi
