#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/DesktopCapabilities.h"
#include "platform/process/LockFiles.h"
#include "platform/shell/LoginService.h"
#include "platform/shell/UserNotifications.h"
#include "platform/storage/SecretStore.h"

namespace quillard::app {

// How far the way to the relay was found open.
enum class RelayReach {
  notConfigured,
  badAddress,   // It is no address of a relay.
  unreachable,  // No answer from there.
  reachable,    // There is an answer. Whether the relay knows this computer was not asked: it has no identity yet.
  registered,   // The relay knows this computer.
  refused,      // It answers, but does not want this computer.
  revoked,      // It calls the pairing revoked.
};

// What was found out about this computer and its desktop, without judgement.
struct DoctorFacts {
  std::string programFolder;
  bool isInstalled = false;  // As an application, in a folder for applications.
  std::string folderForApplications;

  // Why not every window is listed, or none. Absent: all are.
  std::optional<platform::Limitation> windowListLimitation;
  bool isWayland = false;  // The session is one of Wayland: the X server is its guest.

  platform::ProcessTrust accessibilityTrust = platform::ProcessTrust::denied;
  bool isAskedAlone = true;  // Not by another program, for which the system then answers.
  platform::Finding<std::vector<platform::UnreadableProgram>> unreadablePrograms =
      std::vector<platform::UnreadableProgram>{};
  bool hasGtk2Bridge = false;  // GTK_MODULES names what makes GTK 2 programs readable.

  RelayReach relay = RelayReach::notConfigured;
  std::string relayAddress;  // Host and port only.
  std::string relayText;     // The reason, where there is one.

  platform::SecretStatus secretService;  // Of looking for the identity there.
  platform::SecretStatus secretFile;
  bool hasIdentityInSettings = false;  // A copy of the identity, which serves where the others cannot be read.

  std::optional<std::string> notificationProblem;
  std::optional<platform::NotificationServer> notificationServer;  // Absent: not known, or the system itself.

  bool canBeLoginItem = false;
  platform::LoginServiceStatus loginItem = platform::LoginServiceStatus::notRegistered;

  platform::LockOutcome lock = platform::LockOutcome::unavailable;  // Acquired: no agent runs.
};

}  // namespace quillard::app
