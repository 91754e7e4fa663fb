#include "platform/linux/accessibility/AccessibleProcessList.h"

#include <algorithm>
#include <utility>

namespace quillard::atspi {
namespace {

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
  const MutexLock lock(mutex);
  return present;
}

bool AccessibleProcessList::isPresentNow(std::int32_t processIdentifier) {
  const auto now = applications.processIdentifiers();
  return std::find(now.begin(), now.end(), processIdentifier) != now.end();
}

platform::SubscriptionHandle AccessibleProcessList::observe(std::function<void()> onChange) {
  return observers.add(std::move(onChange));
}

bool AccessibleProcessList::refresh() {
  auto now = applications.processIdentifiers();
  const MutexLock lock(mutex);
  return std::exchange(present, now) != now;
}

}  // namespace quillard::atspi
