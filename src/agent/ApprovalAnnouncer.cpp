#include "agent/ApprovalAnnouncer.h"

#include <cstddef>
#include <utility>

#include "foundation/PrintableText.h"

namespace quillard {
namespace {

// Names of two phones fit in.
constexpr std::size_t kLongestLine = 500;

}  // namespace

ApprovalAnnouncer::ApprovalAnnouncer(const ApprovalAnnouncerDependencies& dependencies) : dependencies(dependencies) {}

void ApprovalAnnouncer::requestNotificationPermission() {
  if (!dependencies.bundle.identifier()) return;
  dependencies.userNotifications.requestAuthorization([&console = dependencies.console](const auto& error) {
    if (error) console.writeLine("Unable to request notification permission: " + printableText(*error));
  });
}

void ApprovalAnnouncer::announce(const std::vector<PendingApproval>& current, bool isPaused) {
  std::unordered_set<Uuid> announced;
  for (const auto& approval : current) {
    const bool isKnown = lastNotifiedIDs.contains(approval.id);
    if (!isKnown && !isPaused) notify(approval);
    if (isKnown || !isPaused) announced.insert(approval.id);
  }
  lastNotifiedIDs = std::move(announced);
}

void ApprovalAnnouncer::tell(const std::string& identifier, TextKey text,
                             std::initializer_list<std::string_view> values, bool isLogged) {
  const bool hasNotifications = dependencies.bundle.identifier().has_value();
  if (isLogged || !hasNotifications)
    dependencies.console.writeLine(printableText(UserTexts{}(text, values), kLongestLine));
  if (!hasNotifications) return;
  dependencies.userNotifications.post({.identifier = identifier,
                                       .title = "Quillard",
                                       .body = dependencies.texts(text, values),
                                       .playsDefaultSound = true});
}

// Contains nothing of the prompt's text: whoever passes by can read a notification.
void ApprovalAnnouncer::notify(const PendingApproval& approval) {
  if (!dependencies.bundle.identifier()) {
    dependencies.console.writeLine("Approval needed: " + printableText(approval.displayTitle()));
    return;
  }
  dependencies.userNotifications.post({.identifier = approval.id.text(),
                                       .title = "Quillard",
                                       .body = dependencies.texts("Your Mac needs approval."),
                                       .playsDefaultSound = true});
}

}  // namespace quillard
