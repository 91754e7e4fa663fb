#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "approvals/PendingApproval.h"
#include "foundation/UserTexts.h"
#include "foundation/Uuid.h"
#include "platform/process/Bundle.h"
#include "platform/process/Console.h"
#include "platform/shell/UserNotifications.h"

namespace quillard {

// What announcements go through. All of it outlives the announcer, and the process's notifications.
struct ApprovalAnnouncerDependencies {
  const platform::Bundle& bundle;
  platform::UserNotifications& userNotifications;
  platform::Console& console;
  UserTexts texts{};
};

// Tells the user of this computer that a prompt needs an answer: one notification for each approval, as long as it
// stays pending. Without a bundle identifier, as in a build that is run from a folder, there are no notifications, and
// a line is printed instead. Main thread.
class ApprovalAnnouncer {
 public:
  explicit ApprovalAnnouncer(const ApprovalAnnouncerDependencies& dependencies);

  // Asks the user, where the system wants that. A failure is printed.
  void requestNotificationPermission();

  // `current`: all that is pending, in the order in which it is to be announced. What was announced before stays quiet;
  // what has left is forgotten, and announced again should it come back. While `isPaused` nothing is announced, and
  // nothing counts as announced.
  void announce(const std::vector<PendingApproval>& current, bool isPaused);

  // Tells of something else than a prompt, in one line. A later one with the same `identifier` takes the place of an
  // earlier one. `isLogged`: it is printed in any case.
  void tell(const std::string& identifier, TextKey text, std::initializer_list<std::string_view> values, bool isLogged);

  // Whatever is pending at the next call counts as new.
  void forget() { lastNotifiedIDs.clear(); }

 private:
  void notify(const PendingApproval& approval);

  const ApprovalAnnouncerDependencies dependencies;
  std::unordered_set<Uuid> lastNotifiedIDs;
};

}  // namespace quillard
