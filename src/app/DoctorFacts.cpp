#include "app/DoctorFacts.h"

namespace quillard::app {
namespace {

using State = DoctorCheck::State;
using platform::LockOutcome;
using platform::LoginServiceStatus;
using platform::SecretStatus;
using platform::SecretStatusCode;

DoctorCheck installCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "install", .title = "Installation", .detail = facts.programFolder, .remedy = {}};
  if (facts.isInstalled) return check;
  check.state = State::problem;
  check.detail += " is no folder for applications: the agent neither connects nor looks for prompts from there.";
  check.remedy = "Install it as " + facts.folderForApplications + "/Quillard.app.";
  return check;
}

DoctorCheck displayCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "display", .title = "Display", .detail = "An X server is there.", .remedy = {}};
  if (!facts.hasDisplay) {
    check.state = State::problem;
    check.detail = "There is no X server, or it does not answer.";
    check.remedy = "Start quillard in a desktop session. DISPLAY names the X server.";
  } else if (facts.isWayland) {
    check.state = State::note;
    check.detail =
        "This is a Wayland session. Windows of Wayland programs cannot be brought to the front or clicked, "
        "and some are not seen; those of X programs are.";
    check.remedy = "Choose an X session at login, if that is a problem.";
  }
  return check;
}

DoctorCheck accessibilityCheck(const DoctorFacts& facts) {
  DoctorCheck check{
      .id = "accessibility", .title = "Accessibility", .detail = "It is on, and can be used.", .remedy = {}};
  if (facts.isAccessibilityTrusted) return check;
  check.state = State::problem;
  check.detail = "It is off, or its bus does not answer: no window can be read.";
  check.remedy =
      "Install at-spi2-core, and switch it on: "
      "gsettings set org.gnome.desktop.interface toolkit-accessibility true";
  return check;
}

DoctorCheck programsCheck(const DoctorFacts& facts) {
  DoctorCheck check{
      .id = "programs", .title = "Programs", .detail = "All that have windows can be read.", .remedy = {}};
  if (!facts.isAccessibilityTrusted) {
    check.state = State::note;
    check.detail = "Not known without accessibility.";
    return check;
  }
  if (facts.unseenPrograms.empty()) return check;
  check.state = State::note;
  check.detail = "Prompts of these are not seen:";
  for (const auto& program : facts.unseenPrograms) {
    check.detail += (&program == &facts.unseenPrograms.front() ? " " : ", ") + program;
  }
  check.detail += ".";
  check.remedy = "Start them anew: some look only then whether accessibility is on.";
  if (!facts.hasGtk2Bridge) {
    check.remedy += " Programs made with GTK 2 need GTK_MODULES=gail:atk-bridge in the session's environment.";
  }
  return check;
}

DoctorCheck relayCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "relay", .title = "Relay", .state = State::problem, .detail = {}, .remedy = {}};
  const std::string because = facts.relayText.empty() ? "." : ": " + facts.relayText;
  switch (facts.relay) {
    case RelayReach::notConfigured:
      check.detail = "None is configured: without one, the agent does not look for prompts.";
      check.remedy =
          "Set QUILLARD_RELAY_URL and QUILLARD_PAIRING_ID, or put a RelayConfig.plist into the program's "
          "Resources folder.";
      break;
    case RelayReach::badAddress:
      check.detail = "Its address is none" + because;
      check.remedy = "The address begins with wss:// and names a host.";
      break;
    case RelayReach::unreachable:
      check.detail = facts.relayAddress + " does not answer" + because;
      check.remedy = "Look at the network, and whether the relay runs.";
      break;
    case RelayReach::refused:
      check.detail = facts.relayAddress + " does not accept this computer" + because;
      check.remedy = "Unpair in the status window: that makes a new identity, for which the phone scans a new code.";
      break;
    case RelayReach::reachable:
      check.state = State::note;
      check.detail = facts.relayAddress +
                     " answers. It was not asked whether it knows this computer, whose identity cannot be read, or "
                     "comes with the agent's first start.";
      break;
    case RelayReach::registered:
      check.state = State::fine;
      check.detail = facts.relayAddress + " knows this computer.";
      break;
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

DoctorCheck notificationsCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "notifications", .title = "Notifications", .detail = "They are shown.", .remedy = {}};
  if (!facts.notificationProblem) return check;
  check.state = State::note;
  check.detail = "They are not shown: " + *facts.notificationProblem;
  check.remedy = "Nothing else depends on them. A notification program such as dunst shows them.";
  return check;
}

DoctorCheck loginItemCheck(const DoctorFacts& facts) {
  DoctorCheck check{
      .id = "login-item", .title = "Start at login", .detail = "The agent starts when you log in.", .remedy = {}};
  if (facts.canBeLoginItem && facts.loginItem == LoginServiceStatus::enabled) return check;
  check.state = State::note;
  if (!facts.canBeLoginItem) {
    check.detail = "Only an installed agent can start at login.";
  } else if (facts.loginItem == LoginServiceStatus::requiresApproval) {
    check.detail = "It is switched off in the desktop's settings.";
    check.remedy = "Switch it on there, if you want it.";
  } else {
    check.detail = "The agent does not start when you log in. Its next start changes that.";
  }
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

std::vector<DoctorCheck> doctorChecks(const DoctorFacts& facts) {
  return {installCheck(facts),       displayCheck(facts),   accessibilityCheck(facts),
          programsCheck(facts),      relayCheck(facts),     keychainCheck(facts),
          notificationsCheck(facts), loginItemCheck(facts), runningCheck(facts)};
}

}  // namespace quillard::app
