#include "app/LinuxDoctorChecks.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "app/SharedDoctorChecks.h"
#include "foundation/Text.h"
#include "system/UnreadableProgramTexts.h"

namespace quillard::app {
namespace {

using State = DoctorCheck::State;
using platform::LockOutcome;
using platform::SecretStatus;
using platform::SecretStatusCode;

DoctorCheck displayCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "display", .title = "Display", .detail = "An X server is there.", .remedy = {}};
  if (!facts.windowListLimitation) return check;
  check.detail = facts.windowListLimitation->reason;
  if (facts.isWayland || facts.windowListLimitation->isPartial) {
    check.state = State::note;
    check.remedy = "Choose an X session at login, if that is a problem.";
  } else {
    check.state = State::problem;
    check.remedy = "Start quillard in a desktop session. DISPLAY names the X server.";
  }
  return check;
}

DoctorCheck accessibilityCheck(const DoctorFacts& facts) {
  DoctorCheck check{
      .id = "accessibility", .title = "Accessibility", .detail = "It is on, and can be used.", .remedy = {}};
  if (facts.accessibilityTrust == platform::ProcessTrust::granted) return check;
  check.state = State::problem;
  if (facts.accessibilityTrust == platform::ProcessTrust::unknown) {
    check.detail = "Its service or its bus does not answer: no window can be read.";
    check.remedy = "Ask again in a minute. If it stays silent, sign out and in again.";
    return check;
  }
  check.detail = "It is off, or its service is not there: no window can be read.";
  check.remedy =
      "Install at-spi2-core, and switch it on: "
      "gsettings set org.gnome.desktop.interface toolkit-accessibility true";
  return check;
}

bool isOneOffered(const std::vector<platform::UnreadableProgram>& programs) {
  return std::any_of(programs.begin(), programs.end(),
                     [](const platform::UnreadableProgram& program) { return !program.startEntry.empty(); });
}

DoctorCheck programsCheck(const DoctorFacts& facts) {
  DoctorCheck check{
      .id = "programs", .title = "Programs", .detail = "All that have windows can be read.", .remedy = {}};
  if (!facts.unreadablePrograms.isKnown()) {
    check.state = State::note;
    check.detail = facts.unreadablePrograms.limitation().reason;
    return check;
  }
  const auto& programs = facts.unreadablePrograms.value();
  if (programs.empty()) return check;
  check.state = State::note;
  check.detail = "Prompts of these are not seen:";
  for (const auto& program : programs) {
    check.detail += (&program == &programs.front() ? " " : ", ") + program.name + " (process " +
                    std::to_string(program.processIdentifier) + ")";
  }
  check.detail += ".";
  if (const auto& missing = facts.unreadablePrograms.missing()) check.detail += " Of others: " + missing->reason;
  check.remedy = UnreadableProgramTexts::remedies(programs);
  if (isOneOffered(programs)) check.remedy += " \"quillard readable\" changes how it is started from the menu.";
  if (!facts.hasGtk2Bridge) {
    check.remedy += " Programs made with GTK 2 need GTK_MODULES=gail:atk-bridge in the session's environment.";
  }
  return check;
}

bool isUsable(const SecretStatus& status) {
  return status.code == SecretStatusCode::success || status.code == SecretStatusCode::itemNotFound;
}

DoctorCheck keychainCheck(const DoctorFacts& facts) {
  DoctorCheck check{
      .id = "keychain", .title = "Keychain", .detail = "Secrets are kept by the desktop's keyring.", .remedy = {}};
  if (isUsable(facts.secretService)) return check;
  const std::string because = facts.secretService.text.empty() ? "." : ": " + facts.secretService.text;
  if (facts.secretService.code == SecretStatusCode::missingEntitlement && isUsable(facts.secretFile)) {
    check.state = State::note;
    check.detail = "This desktop has no keyring; secrets are kept in a file that only you can read.";
    return check;
  }
  check.state = State::problem;
  if (facts.secretService.code == SecretStatusCode::interactionNotAllowed) {
    check.detail = "The keyring is locked. Until it is open, the agent uses an identity that no phone knows.";
    check.remedy = "Unlock it, or let the desktop unlock it at login, then start quillard again.";
  } else if (isUsable(facts.secretFile)) {
    check.detail = "The keyring cannot be read" + because;
    check.remedy = "Look whether the keyring of this desktop runs.";
  } else {
    check.detail = "Secrets cannot be kept" + (facts.secretFile.text.empty() ? because : ": " + facts.secretFile.text);
    check.remedy = "The folder ~/.local/share/quillard and what is in it must be yours, and open to nobody else.";
  }
  return check;
}

// What shows notifications with windows of its own drawing: these are in no tree of elements, and the service has no
// function to read or press what it shows.
bool drawsUnreadable(const platform::NotificationServer& server) {
  constexpr std::array<std::string_view, 5> kNames{"dunst", "mako", "fnott", "wired", "naughty"};
  const auto name = text::lowercased(server.name);
  return std::find(kNames.begin(), kNames.end(), name) != kNames.end();
}

// Its buttons say that they were pressed, and do nothing.
bool ignoresPresses(const platform::NotificationServer& server) {
  return text::lowercased(server.vendor) == "mate" || text::lowercased(server.name).starts_with("mate");
}

DoctorCheck notificationsCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "notifications", .title = "Notifications", .detail = "They are shown.", .remedy = {}};
  if (!facts.notificationProblem) {
    const auto& server = facts.notificationServer;
    if (!server || server->name.empty()) return check;
    check.detail = "They are shown by " + server->name + ".";
    if (!drawsUnreadable(*server) && !ignoresPresses(*server)) return check;
    check.state = State::note;
    check.detail += drawsUnreadable(*server) ? " What other programs ask in its notifications is not seen."
                                             : " The buttons in its notifications cannot be pressed from afar.";
    check.remedy = "Answer those at the computer, or use another notification program.";
    return check;
  }
  check.state = State::note;
  check.detail = "They are not shown: " + *facts.notificationProblem;
  check.remedy = "Nothing else depends on them. A notification program such as dunst shows them.";
  return check;
}

DoctorCheck runningCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "agent", .title = "Agent", .detail = "It runs.", .remedy = {}};
  if (facts.lock == LockOutcome::heldElsewhere) return check;
  check.state = State::note;
  if (facts.lock == LockOutcome::acquired) {
    check.detail = "It does not run.";
    check.remedy = "Start it: quillard";
  } else {
    check.detail = "It cannot keep a second one from running: there is no folder for its lock.";
    check.remedy = "XDG_RUNTIME_DIR must name a folder that is yours, and open to nobody else.";
  }
  return check;
}

}  // namespace

std::vector<DoctorCheck> linuxDoctorChecks(const DoctorFacts& facts) {
  return {installCheck(facts),       displayCheck(facts),   accessibilityCheck(facts),
          programsCheck(facts),      relayCheck(facts),     keychainCheck(facts),
          notificationsCheck(facts), loginItemCheck(facts), runningCheck(facts)};
}

}  // namespace quillard::app
