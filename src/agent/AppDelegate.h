#pragma once

#include <memory>

#include "agent/AgentChannel.h"
#include "agent/ApplicationMenu.h"
#include "agent/ApprovalAnnouncer.h"
#include "agent/CurrentApprovals.h"
#include "agent/DecisionAudit.h"
#include "agent/DecisionRunner.h"
#include "agent/InstanceGuard.h"
#include "agent/NotificationPause.h"
#include "agent/PageCode.h"
#include "agent/PermissionWatch.h"
#include "agent/PhoneAlerts.h"
#include "agent/PhoneNotices.h"
#include "agent/PhonePairings.h"
#include "agent/ProgramWatch.h"
#include "agent/PromptDetection.h"
#include "agent/PromptSuppressions.h"
#include "agent/SettingsTakeover.h"
#include "agent/StatusPresenter.h"
#include "agent/configuration/AgentConfiguration.h"
#include "agent/configuration/ConfiguredTransports.h"
#include "approvals/ApprovalStore.h"
#include "approvals/ApprovalSuppressionStore.h"
#include "approvals/NotificationPauseStore.h"
#include "audit/AuditLog.h"
#include "platform/Platform.h"
#include "relay/ClockStamp.h"
#include "relay/PairingConfiguration.h"
#include "relay/RelayCommands.h"
#include "status/MacStatusSnapshot.h"
#include "status/StatusWindowController.h"
#include "status/view/StatusWindowView.h"
#include "system/InstallLocation.h"
#include "system/LoginItemManager.h"
#include "system/PermissionManager.h"

namespace quillard {

// The agent: owns one object for each concern, for the life of the process, and joins them. What happens on its own
// (when to scan, how the relay is kept, which decision is next) is decided by the owner of that concern; what one
// concern means for another is decided here, and here only.
//
// States: constructed -> launching -> running -> terminating; or, when another agent keeps the lock, constructed ->
// launching -> terminating. Main thread only, its destruction included, which waits for a scan and for a press that
// have begun and is never asked for from inside one of its own operations.
class AppDelegate final : public platform::ApplicationDelegate, public std::enable_shared_from_this<AppDelegate> {
 public:
  // `texts`: the words of its window and notifications. What `platform` refers to, and `statusWindowViews`, outlive the
  // agent. Owned by a `std::shared_ptr`, since the status window may ask for the agent after it has gone.
  AppDelegate(const platform::Platform& platform, StatusWindowViews& statusWindowViews, const UserTexts& texts = {});
  ~AppDelegate() override;

  // ---- What the system calls.
  // Runs, or quits, some seconds later when an agent that runs already was asked to make room.
  void applicationDidFinishLaunching() override;
  // Always true.
  bool applicationShouldHandleReopen(bool hasVisibleWindows) override;
  // Nothing is started, pressed or sent afterwards. Waits, for half a second at most, until the relay was sent a close
  // message.
  void applicationWillTerminate() override;

  // ---- What menus and buttons call.
  void showStatusWindow();
  void checkForUpdates();
  void requestPermissions();
  void quit();
  void pauseNotifications(NotificationPauseOption option);
  void resumeNotifications();
  // Asks the relay to remove all phones, and takes a new identity whatever comes of that.
  void unpairPhoneFromStatusWindow();
  // The same for one pairing; the phones of the others stay.
  void unpair(int pairing);
  // Shows the code of a new pairing for a while, or no longer.
  void pairAnotherPhone();
  void cancelPairing();

  // What the status window shows now.
  [[nodiscard]] MacStatusSnapshot currentStatusSnapshot();

 private:
  // This agent is the only one.
  void start();

  // ---- What the owners report, and what it means for the others.
  void accessibilityWasGranted();
  void takeOverTunables();
  [[nodiscard]] PhoneReach phoneReach();
  void approvalWasAnswered(const Uuid& approvalID);
  void decisionBegan(const ApprovalRequestEnvelope& decision);
  void decisionEnded(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result);
  // With the newest entry of the log.
  [[nodiscard]] ApprovalResultCommand withLogHead(ApprovalResultCommand result) const;
  void relayStatusChanged();
  void handleRelaySuppressionCommand(const ApprovalSuppressionCommand& command);
  // The phones always learn whether the permission is there; of prompts they learn only while it is, and no pause is
  // on.
  [[nodiscard]] ApprovalSnapshot approvalSnapshot();
  // To the phones that are connected, and to those that sleep.
  void publishApprovals(bool force);
  void publishAndRefresh(bool force);

  // ---- What the owners are handed.
  [[nodiscard]] AuditLogDependencies auditLogDependencies();
  [[nodiscard]] CurrentApprovalsCallbacks currentApprovalsCallbacks();
  [[nodiscard]] PromptSuppressionsCallbacks promptSuppressionsCallbacks();
  [[nodiscard]] SuppressionCommandActions suppressionCommandActions();
  [[nodiscard]] MeetingReports meetingReports(int pairing);
  [[nodiscard]] PhoneAlertsActions phoneAlertsActions();
  [[nodiscard]] PermissionWatchEvents permissionWatchEvents();
  [[nodiscard]] PromptDetectionDependencies promptDetectionDependencies();
  [[nodiscard]] std::unique_ptr<ApprovalPress> makeApprovalPress();
  [[nodiscard]] QuestionsCallbacks questionsCallbacks();
  [[nodiscard]] AgentCommandActions agentCommandActions();
  [[nodiscard]] PhoneCommandActions phoneCommandActions();
  [[nodiscard]] SettingsTakeoverActions settingsTakeoverActions();
  [[nodiscard]] PhonePairingsCallbacks phonePairingsCallbacks();
  [[nodiscard]] StatusWindowCallbacks statusWindowCallbacks();

  const platform::Platform platform;
  const UserTexts texts;
  const AgentConfiguration::Sources settings{platform.environment, &platform.userDefaults};
  InstallLocation installLocation;
  LoginItemManager loginItems;
  PermissionManager permissions;
  PairingConfiguration pairingConfiguration;
  ConfiguredTransports transports{platform.httpSessions, platform.webSockets, settings};
  PageCode pageCode{pairingConfiguration};
  ApprovalSuppressionStore suppressionStore;
  ApprovalStore store;
  AuditLog auditLog;
  DecisionAudit audit;
  StampClock stampClock;
  // The owners. What they use while they are destroyed stands above them; their callbacks into this class do not run
  // any more by then, since those run on the same thread.
  InstanceGuard instanceGuard;
  NotificationPause notificationPause;
  PermissionWatch permissionWatch;
  ApprovalAnnouncer announcer;
  PhoneNotices notices{announcer};
  CurrentApprovals approvals;
  StatusPresenter status;
  ApplicationMenu menu;
  ProgramWatch programs;
  PromptDetection detection;
  PromptSuppressions suppressions;
  DecisionRunner decisions;  // Presses with the detection's detector.
  PhonePairings relay;
  PhoneAlerts alerts;    // Wakes phones by way of the pairings.
  AgentChannel channel;  // Its questions are answered by the decisions.
  SettingsTakeover takeover;
};

}  // namespace quillard
