#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "agent/DecisionQueue.h"
#include "approvals/ApprovalStore.h"
#include "approvals/ApprovalSuppressionStore.h"
#include "approvals/NotificationPauseStore.h"
#include "approvals/PendingApproval.h"
#include "click/ApprovalClicker.h"
#include "click/DialogFocusResolver.h"
#include "detection/DialogDetector.h"
#include "detection/DialogEventMonitor.h"
#include "detection/DialogScanWorker.h"
#include "detection/StableIDs.h"
#include "platform/Platform.h"
#include "relay/PairingConfiguration.h"
#include "relay/RelayClient.h"
#include "relay/RelayRegistrationTask.h"
#include "relay/RelayStatus.h"
#include "status/MacStatusSnapshot.h"
#include "status/StatusWindowController.h"
#include "system/InstallLocation.h"
#include "system/LoginItemManager.h"
#include "system/PermissionManager.h"
#include "system/UpdateManager.h"

namespace quillard {

// The agent: owns everything for the life of the process, and joins it.
//
// States: constructed -> launching -> running -> terminating; or, when another agent holds the lock, constructed ->
// terminating. Main thread only. Whatever is still under way when it is destroyed finds it gone and does nothing;
// destroying it waits for a scan and for a press that have begun.
//
// One source file a concern: lifecycle, scanning, relay, decisions, status.
class AppDelegate : public std::enable_shared_from_this<AppDelegate> {
 public:
  // What `platform` refers to outlives the agent. Owned by a `std::shared_ptr`.
  explicit AppDelegate(const platform::Platform& platform);
  ~AppDelegate();
  AppDelegate(const AppDelegate&) = delete;
  AppDelegate& operator=(const AppDelegate&) = delete;

  // ---- What the system calls.
  void applicationDidFinishLaunching();
  // Whether the system's own answer to a reopening is wanted too. Always.
  bool applicationShouldHandleReopen(bool hasVisibleWindows);
  // Nothing is started, pressed or sent afterwards. Waits a moment for the relay to be sent a close message.
  void applicationWillTerminate();

  // ---- What menus and buttons call.
  void showStatusWindow();
  void checkForUpdates();
  void requestPermissions();
  void quit();
  void pauseNotifications(NotificationPauseOption option);
  void resumeNotifications();
  // Asks the relay to let all phones go, and takes a new identity whatever comes of that.
  void unpairPhoneFromStatusWindow();

  // What the status window shows now.
  [[nodiscard]] MacStatusSnapshot currentStatusSnapshot();

 private:
  // ---- Lifecycle
  void terminateOtherAgents();
  // False: another agent holds the lock. Without a lock file the agent runs unguarded.
  [[nodiscard]] bool acquireSingleInstanceLock();
  void releaseSingleInstanceLock();
  void configureApplicationMenu();
  void setApplicationMenu();
  void configureMenuBar();
  void startPromptDetection();
  void scheduleStartOfPromptDetection();
  void observeAccessibilityPermission();
  void accessibilityPermissionDidChange();
  void scheduleAccessibilityStatusTimer();
  void scheduleAccessibilityRechecks();
  // Both are done once a fresh answer is there, which the main thread does not wait for.
  void handleAccessibilityStatusChangeIfNeeded(bool forceRefresh);
  void accessibilityTrustRead(bool isTrusted, bool forceRefresh);
  void scheduleNotificationPauseResumeTimer();
  void notificationPauseMayHaveEnded();
  void resumeAfterSleepIfNeeded();
  void requestNotificationPermission();
  [[nodiscard]] bool isAccessibilityTrusted();
  // Empty when there is nothing to update from.
  UpdateManager* updateManager();

  // ---- Scanning
  // Made on first use.
  DialogDetector& detector();
  DialogScanWorker& scanWorker();
  // Soon, unless one is under way: then once more after it. `reason`: who asked.
  void scheduleScan(std::string_view reason);
  void finishScan(const ScanOutcome& outcome);
  void publishScan(const std::vector<PendingApproval>& scanned);
  void announce(const std::vector<PendingApproval>& current);
  void notify(const PendingApproval& approval);
  void scheduleStaleCleanupIfNeeded(std::size_t scannedCount, std::size_t publishedCount);
  void scheduleConfirmationIfNeeded(std::size_t heldBackCount);
  void forgetApprovals();
  void pendingApprovalsChanged();

  // ---- Relay
  // Whether there is a relay at all: without one nothing is scanned.
  [[nodiscard]] bool isRelayConfigured();
  void startRelayIfConfigured();
  void relayTokenRegistered(const std::string& url, const InstallationSecrets& secrets);
  [[nodiscard]] RelayClientCallbacks relayClientCallbacks();
  void relayStatusChanged(const RelayConnectionStatus& status);
  void publishCurrentApprovalSnapshot(bool force);
  void handleRelaySuppressionCommand(const ApprovalSuppressionCommand& command);
  void rotatePairingIdentityAfterUnpair();
  void beginRelayGeneration();
  void dropRelayClient();
  void awaitRelayQueue();

  // ---- Decisions
  DialogFocusResolver& focusResolver();
  ApprovalClicker& clicker();
  void handleRelayApprovalRequest(const ApprovalRequestEnvelope& envelope);
  void carryOutNextDecision();
  void carryOut(const ApprovalRequestEnvelope& envelope);
  void click(const ApprovalRequestEnvelope& envelope, const PendingApproval& approval,
             const ResolvedDialogButton& button);
  void approvalWasAnswered(const Uuid& approvalID);
  // `generation`: the relay's at the time when the decision was begun.
  void finishDecision(const std::string& decisionID, const ApprovalResultCommand& result, std::int64_t generation);

  // ---- Status
  void updateStatus(std::int64_t count);
  void refreshStatusWindow();
  [[nodiscard]] std::unique_ptr<StatusWindowController> makeStatusWindowController();
  [[nodiscard]] std::optional<Bitmap> pairingQRCodeImage();
  [[nodiscard]] std::optional<PairingPayload> pairingPayload();

  const platform::Platform platform;
  InstallLocation installLocation;
  LoginItemManager loginItems;
  PermissionManager permissions;
  PairingConfiguration pairingConfiguration;
  const StableIDs stableIDs;

  ApprovalSuppressionStore suppressionStore;
  std::unique_ptr<DialogDetector> madeDetector;
  std::unique_ptr<DialogFocusResolver> madeFocusResolver;
  std::unique_ptr<DialogScanWorker> madeScanWorker;
  std::unique_ptr<ApprovalClicker> madeClicker;
  ApprovalStore store;
  NotificationPauseStore notificationPauseStore;
  std::unique_ptr<platform::SerialExecutor> relayQueue;  // Of every relay client, one after another.
  std::unique_ptr<RelayClient> relayClient;
  platform::TaskHandle safetySweepTimer;
  platform::TaskHandle accessibilityStatusTimer;
  platform::TaskHandle notificationPauseResumeTimer;
  platform::TaskHandle startDetectionTask;
  std::map<std::uint64_t, platform::TaskHandle> accessibilityRechecks;  // Those ahead, by age.
  std::uint64_t accessibilityRecheckCount = 0;
  platform::SubscriptionHandle accessibilityPermissionObserver;
  std::unique_ptr<DialogEventMonitor> eventMonitor;
  std::unique_ptr<platform::StatusItem> statusItem;
  std::unique_ptr<StatusWindowController> statusWindowController;
  RelayConnectionStatus relayStatus;
  std::int64_t pendingApprovalCount = 0;
  bool scanInFlight = false;
  bool scanRequestedWhileInFlight = false;
  std::unique_ptr<RelayRegistrationTask> relayRegistrationTask;
  platform::TaskHandle staleCleanupTask;
  platform::TaskHandle confirmationTask;
  int confirmationsInARow = 0;
  std::optional<PairingPayload> cachedPairingQRCodePayload;
  std::optional<Bitmap> cachedPairingQRCodeImage;
  std::string lastSnapshotWarning;   // What was printed of the last list that was too long; empty: it was not.
  std::int64_t relayGeneration = 0;  // One more at every start of the relay and every reset of the pairing.
  bool pairingResetInProgress = false;
  DecisionQueue decisions;
  std::int32_t instanceLockFileDescriptor = -1;
  std::unordered_set<Uuid> lastNotifiedIDs;
  bool lastAccessibilityTrusted = false;
  std::optional<platform::ApplicationMenuItem> checkForUpdatesMenuItem;
  bool isUpdateManagerSettled = false;  // Whether it was found out if there is one.
  std::unique_ptr<UpdateManager> madeUpdateManager;
  bool isTerminating = false;
};

}  // namespace quillard
