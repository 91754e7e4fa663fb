#include "app/SharedDoctorChecks.h"

namespace quillard::app {
namespace {

using State = DoctorCheck::State;
using platform::LoginServiceStatus;

}  // namespace

DoctorCheck installCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "install", .title = "Installation", .detail = facts.programFolder, .remedy = {}};
  if (facts.isInstalled) return check;
  check.state = State::problem;
  check.detail += " is no folder for applications: the agent neither connects nor looks for prompts from there.";
  check.remedy = "Install it as " + facts.folderForApplications + "/Quillard.app.";
  return check;
}

DoctorCheck relayCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "relay", .title = "Relay", .state = State::problem, .detail = {}, .remedy = {}};
  const std::string because = facts.relayText.empty() ? "." : ": " + facts.relayText;
  switch (facts.relay) {
    case RelayReach::notConfigured:
      check.detail = "None is configured: without one, the agent does not look for prompts.";
      check.remedy = "Choose one with \"quillard relay set ADDRESS\".";
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
    case RelayReach::revoked:
      check.detail =
          facts.relayAddress + " calls the pairing of this computer revoked. The agent asks again every hour.";
      check.remedy =
          "Choose \"Pair Anew\" in the status window: that makes a new identity, for which the phone scans a new code.";
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

}  // namespace quillard::app
