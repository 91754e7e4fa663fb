#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "approvals/NotificationPauseStore.h"
#include "foundation/Uuid.h"
#include "platform/desktop/Workspace.h"
#include "platform/process/Application.h"
#include "platform/process/Executors.h"
#include "status/MacStatusSnapshot.h"
#include "status/view/StatusWindowView.h"
#include "system/InstallLocation.h"
#include "system/LoginItemManager.h"
#include "system/PermissionManager.h"

namespace quillard {

// What the window asks of the agent.
struct StatusWindowCallbacks {
  std::function<MacStatusSnapshot()> snapshotProvider;
  std::function<void()> onEnableLoginItem;
  std::function<void()> onUnpairPhone;
  std::function<void()> onCheckForUpdates;
  std::function<void(NotificationPauseOption)> onPauseNotifications;
  std::function<void()> onResumeNotifications;
  // Takes one pairing back, with all its phones.
  std::function<void(int pairing)> onUnpairPairing;
  // Shows the code of a new pairing; hides it again, and takes it back.
  std::function<void()> onPairAnother;
  std::function<void()> onCancelPairing;
  // Of the pairing card's button. Empty: the button opens the page of privacy settings, no more.
  std::function<void()> onRequestPermissions;
  // Of a question that a program asks.
  std::function<void(const Uuid& id, const std::string& label)> onAnswerQuestion{};
  // With the entry of a program whose start is to be changed, or of one that was changed. Empty: nothing happens.
  std::function<void(const std::string&)> onMakeReadable{};
  std::function<void(const std::string&)> onUndoReadable{};
  // Shows a kind of prompt again.
  std::function<void(const Uuid&)> onUnmute{};
  // Chooses when such a kind is shown again by itself, from now on. Absent: not before it is undone.
  std::function<void(const Uuid&, std::optional<Seconds>)> onSetMuteEnd{};
  // With the address of a relay, as a person typed it. Why it is not used, for people; absent: it is kept.
  std::function<std::optional<std::string>(const std::string&)> onSetRelay{};
};

// What the window acts through. All of it outlives the controller.
struct StatusWindowDependencies {
  platform::Application& application;
  platform::Executors& executors;
  StatusWindowViews& views;
  platform::Workspace& workspace;
  InstallLocation& installLocation;
  LoginItemManager& loginItems;
  PermissionManager& permissions;
};

// The agent's only window. States: hidden (a menu-bar application, no timer) and shown (a regular application,
// refreshed every 2 s). Main thread.
class StatusWindowController {
 public:
  StatusWindowController(StatusWindowCallbacks callbacks, const StatusWindowDependencies& dependencies);
  ~StatusWindowController();
  StatusWindowController(const StatusWindowController&) = delete;
  StatusWindowController& operator=(const StatusWindowController&) = delete;

  // Comes to the front, also when it is shown already.
  void show();
  void close();
  // Lets every other window come before it.
  void makeWay();
  // Takes a new snapshot and shows it. Cheap enough to be called after every change of state: while the window is
  // hidden it does nothing, since showing takes a snapshot first.
  void refresh();

 private:
  class Implementation;
  std::shared_ptr<Implementation> implementation;  // Held weakly by timers and events.
};

}  // namespace quillard
