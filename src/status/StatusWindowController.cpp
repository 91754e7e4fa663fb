#include "status/StatusWindowController.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/PrintableText.h"
#include "status/PhoneRows.h"
#include "status/StatusRows.h"
#include "status/StatusWindowContents.h"

namespace quillard {

namespace {

// When a kind of prompt that is muted is shown again. Absent: not before that is undone.
struct MuteEnd {
  TextKey title;
  std::optional<Seconds> after;
};

constexpr std::array kMuteEnds{MuteEnd{"For a Day from Now", Seconds{86400}},
                               MuteEnd{"For a Week from Now", Seconds{7 * 86400}},
                               MuteEnd{"Until You Undo It", std::nullopt}};

constexpr std::size_t kMostMenuItems = 30;  // What is older is undone by "quillard unmute".
constexpr Seconds kRefreshInterval{2.0};

template <class Callback, class... Arguments>
void callIfSet(const Callback& callback, const Arguments&... arguments) {
  if (callback) callback(arguments...);
}

}  // namespace

class StatusWindowController::Implementation : public std::enable_shared_from_this<Implementation> {
 public:
  Implementation(StatusWindowCallbacks callbacks, const StatusWindowDependencies& dependencies)
      : callbacks(std::move(callbacks)), dependencies(dependencies) {}

  // Apart from the constructor, in which this cannot be held weakly yet.
  void makeView();

  void show();
  void close();
  void makeWay() { view->makeWay(); }
  void refresh();

 private:
  using Action = void (Implementation::*)();
  struct MenuItem {
    MenuItemContent content;
    Action action;  // Null: a separator.
  };

  // `action` with its arguments, to be run later: not at all when the window has gone.
  template <class... Arguments>
  std::function<void(Arguments...)> weakly(void (Implementation::*action)(Arguments...)) {
    return [weak = weak_from_this(), action](Arguments... arguments) {
      if (const auto self = weak.lock()) ((*self).*action)(arguments...);
    };
  }

  void windowWillClose();
  void appearanceDidChange();
  void updateAppearance();
  void pressed(StatusWindowButton button);
  [[nodiscard]] static Action actionOf(StatusWindowButton button);

  [[nodiscard]] bool isPaused() const { return callbacks.snapshotProvider().notificationPause.isPaused(); }
  void pause(NotificationPauseOption option);

  void requestPermissions();
  void openApplicationsFolder();
  void openAccessibilitySettings();
  void enableLoginItem();
  void openLoginItemsSettings();
  void checkForUpdates();
  void unpairPhone();
  void pairAnother();
  void askToUnpair(std::size_t row);
  void unpairPairing(int pairing);
  void toggleNotificationPause();
  void showNotificationPauseOptions();
  void pauseNotificationsForFourHours() { pause(NotificationPauseOption::fourHours); }
  void pauseNotificationsUntilTomorrow() { pause(NotificationPauseOption::untilTomorrow); }
  void pauseNotificationsIndefinitely() { pause(NotificationPauseOption::indefinitely); }
  void resumeNotificationsNow();
  void showAnswers();
  void chooseProgramToMakeReadable();
  void chooseProgramToUndo();
  void askForRelay();
  void chooseKindToUnmute();
  void chooseKindToEnd();
  void chooseEnd(const Uuid& kind);
  // Pops up a menu of what is muted under `button`.
  void chooseKind(StatusWindowButton button, const std::function<void(Implementation&, const Uuid&)>& act);
  // Pops up a menu of `programs` under `button`; `act` gets the entry of the chosen one.
  void chooseProgram(StatusWindowButton button, const std::vector<platform::ReadableStart>& programs,
                     const std::function<void(const std::string&)>& act);

  const StatusWindowCallbacks callbacks;
  const StatusWindowDependencies dependencies;
  platform::TaskHandle refreshTimer;  // Present while the window is shown.
  bool offersToPairAnew = false;      // What is shown.
  bool offersNewCode = false;         // The same.
  platform::TaskHandle appearanceRefreshTask;
  std::unique_ptr<StatusWindowView> view;
};

void StatusWindowController::Implementation::makeView() {
  view = dependencies.views.makeStatusWindowView({.onButton = weakly(&Implementation::pressed),
                                                  .onWillClose = weakly(&Implementation::windowWillClose),
                                                  .onAppearanceChange = weakly(&Implementation::appearanceDidChange)});
}

void StatusWindowController::Implementation::show() {
  refreshTimer = dependencies.executors.mainThread().repeatEvery(kRefreshInterval, weakly(&Implementation::refresh));
  refresh();  // Before it is seen.
  view->fitToScreen();
  view->updateAppearance();
  dependencies.application.setActivationPolicy(platform::ActivationPolicy::regular);
  view->show();
  dependencies.application.activateIgnoringOtherApplications();
}

void StatusWindowController::Implementation::close() {
  view->close();
  windowWillClose();
}

void StatusWindowController::Implementation::windowWillClose() {
  refreshTimer.reset();
  dependencies.application.setActivationPolicy(platform::ActivationPolicy::accessory);
}

void StatusWindowController::Implementation::refresh() {
  if (!refreshTimer) return;
  const auto snapshot = callbacks.snapshotProvider();
  offersToPairAnew = snapshot.pairingRevoked;
  offersNewCode = offersToRenewCode(snapshot);
  view->setContent(statusWindowContent(snapshot));
}

// One update, however often the system tells of a change before its turn comes.
void StatusWindowController::Implementation::appearanceDidChange() {
  appearanceRefreshTask =
      dependencies.executors.mainThread().postAfter(Seconds::zero(), weakly(&Implementation::updateAppearance));
}

void StatusWindowController::Implementation::updateAppearance() {
  appearanceRefreshTask.reset();
  view->updateAppearance();
}

void StatusWindowController::Implementation::pressed(StatusWindowButton button) {
  if (const auto row = phoneRowOf(button)) return askToUnpair(*row);
  if (const Action action = actionOf(button)) (this->*action)();
}

StatusWindowController::Implementation::Action StatusWindowController::Implementation::actionOf(
    StatusWindowButton button) {
  switch (button) {
    case StatusWindowButton::pairingAction:
      return &Implementation::requestPermissions;
    case StatusWindowButton::pairAnother:
      return &Implementation::pairAnother;
    case StatusWindowButton::none:
    case StatusWindowButton::firstPhone:
      return nullptr;  // Of a row: see `pressed`.
    case StatusWindowButton::unpairPhone:
      return &Implementation::unpairPhone;
    case StatusWindowButton::installLocationPrimary:
    case StatusWindowButton::installLocationSecondary:
      return &Implementation::openApplicationsFolder;
    case StatusWindowButton::accessibilityPrimary:
    case StatusWindowButton::accessibilitySecondary:
      return &Implementation::openAccessibilitySettings;
    case StatusWindowButton::loginItemPrimary:
      return &Implementation::enableLoginItem;
    case StatusWindowButton::loginItemSecondary:
      return &Implementation::openLoginItemsSettings;
    case StatusWindowButton::updatePrimary:
    case StatusWindowButton::updateSecondary:
      return &Implementation::checkForUpdates;
    case StatusWindowButton::notificationPausePrimary:
      return &Implementation::toggleNotificationPause;
    case StatusWindowButton::notificationPauseSecondary:
      return &Implementation::showNotificationPauseOptions;
    case StatusWindowButton::questionPrimary:
    case StatusWindowButton::questionSecondary:
      return &Implementation::showAnswers;
    case StatusWindowButton::programsPrimary:
      return &Implementation::chooseProgramToMakeReadable;
    case StatusWindowButton::programsSecondary:
      return &Implementation::chooseProgramToUndo;
    case StatusWindowButton::mutedPrimary:
      return &Implementation::chooseKindToUnmute;
    case StatusWindowButton::mutedSecondary:
      return &Implementation::chooseKindToEnd;
    case StatusWindowButton::relayPrimary:
    case StatusWindowButton::relaySecondary:
      return &Implementation::askForRelay;
  }
  return nullptr;
}

void StatusWindowController::Implementation::requestPermissions() {
  if (!callbacks.onRequestPermissions) return openAccessibilitySettings();
  callbacks.onRequestPermissions();
  refresh();
}

void StatusWindowController::Implementation::openApplicationsFolder() {
  const auto directories = dependencies.installLocation.applicationDirectories();
  if (!directories.empty()) dependencies.workspace.openFolder(directories.front());
}

void StatusWindowController::Implementation::openAccessibilitySettings() {
  dependencies.permissions.openPrivacySettings(PermissionManager::accessibilityAnchor);
}

void StatusWindowController::Implementation::enableLoginItem() {
  callIfSet(callbacks.onEnableLoginItem);
  refresh();
}

void StatusWindowController::Implementation::openLoginItemsSettings() { dependencies.loginItems.openSettings(); }

void StatusWindowController::Implementation::checkForUpdates() { callIfSet(callbacks.onCheckForUpdates); }

// What the button says when it is pressed counts. The pairings that the relay does not refuse stay.
void StatusWindowController::Implementation::unpairPhone() {
  constexpr int kFirstPairing = 1;
  if (offersToPairAnew) return unpairPairing(kFirstPairing);
  callIfSet(callbacks.onUnpairPhone);
  refresh();
}

void StatusWindowController::Implementation::pairAnother() {
  if (offersNewCode) {
    callIfSet(callbacks.onUnpairPhone);
    return refresh();
  }
  callIfSet(callbacks.snapshotProvider().isPairingOffered ? callbacks.onCancelPairing : callbacks.onPairAnother);
  refresh();
}

// The list may change while the question is on screen: the answer is about the pairing, not about the row.
void StatusWindowController::Implementation::askToUnpair(std::size_t row) {
  const auto snapshot = callbacks.snapshotProvider();
  const auto& say = snapshot.texts;
  const auto question = PhoneRows::unpairQuestion(snapshot, row);
  if (!question) return;
  constexpr std::size_t kYes = 2;
  view->popUpMenu(phoneButton(row),
                  {{question->question, /*isEnabled=*/false}, {""}, {question->answer}, {say("Cancel")}},
                  [weak = weak_from_this(), pairing = question->pairing](std::size_t index) {
                    const auto self = weak.lock();
                    if (self && index == kYes) self->unpairPairing(pairing);
                  });
}

void StatusWindowController::Implementation::unpairPairing(int pairing) {
  callIfSet(callbacks.onUnpairPairing, pairing);
  refresh();
}

void StatusWindowController::Implementation::toggleNotificationPause() {
  if (isPaused()) {
    resumeNotificationsNow();
  } else {
    pause(NotificationPauseOption::twoHours);
  }
}

// Two hours are not among them: that is what the button beside this one does.
void StatusWindowController::Implementation::showNotificationPauseOptions() {
  const auto say = callbacks.snapshotProvider().texts;
  std::vector<MenuItem> menu{{{say("Pause for 4 Hours")}, &Implementation::pauseNotificationsForFourHours},
                             {{say("Pause until Tomorrow")}, &Implementation::pauseNotificationsUntilTomorrow},
                             {{say("Pause Forever")}, &Implementation::pauseNotificationsIndefinitely}};
  if (isPaused()) {
    menu.push_back({{""}, nullptr});
    menu.push_back({{say("Resume Now")}, &Implementation::resumeNotificationsNow});
  }
  std::vector<MenuItemContent> items;
  std::vector<Action> actions;
  for (auto& [content, action] : menu) {
    items.push_back(std::move(content));
    actions.push_back(action);
  }
  view->popUpMenu(StatusWindowButton::notificationPauseSecondary, items,
                  [weak = weak_from_this(), actions = std::move(actions)](std::size_t index) {
                    const auto self = weak.lock();
                    if (self && index < actions.size() && actions[index]) ((*self).*actions[index])();
                  });
}

// Of the question that is shown now: what is chosen is an answer to that one, whichever is shown by then.
void StatusWindowController::Implementation::showAnswers() {
  const auto questions = callbacks.snapshotProvider().questions;
  if (questions.empty()) return refresh();
  std::vector<MenuItemContent> items;
  for (const auto& label : questions.front().labels) items.push_back({printableText(label)});
  view->popUpMenu(StatusWindowButton::questionPrimary, items,
                  [weak = weak_from_this(), question = questions.front()](std::size_t index) {
                    const auto self = weak.lock();
                    if (!self || index >= question.labels.size()) return;
                    callIfSet(self->callbacks.onAnswerQuestion, question.id, question.labels[index]);
                    self->refresh();
                  });
}

void StatusWindowController::Implementation::pause(NotificationPauseOption option) {
  callIfSet(callbacks.onPauseNotifications, option);
  refresh();
}

void StatusWindowController::Implementation::resumeNotificationsNow() {
  callIfSet(callbacks.onResumeNotifications);
  refresh();
}

void StatusWindowController::Implementation::askForRelay() {
  const auto snapshot = callbacks.snapshotProvider();
  const auto& relay = snapshot.relay;
  const auto& say = snapshot.texts;
  view->askForText(
      {.title = say("Relay"),
       .explanation = say("The address that its operator gives, such as relay.example. Phones that are paired "
                          "over another relay have to be paired again."),
       .text = relay ? relay->address : "",
       .accept = say("Use Relay"),
       .cancel = say("Cancel")},
      [weak = weak_from_this(), say](const std::string& address) -> std::optional<std::string> {
        const auto self = weak.lock();
        if (!self || !self->callbacks.onSetRelay) return std::nullopt;
        const auto problem = self->callbacks.onSetRelay(address);
        self->refresh();
        return problem ? std::optional(say.ofOther(*problem)) : std::nullopt;
      });
}

// Each entry once: two processes may have been started by one.
void StatusWindowController::Implementation::chooseProgramToMakeReadable() {
  std::vector<platform::ReadableStart> offered;
  for (const auto& program : callbacks.snapshotProvider().programs.unreadable) {
    const platform::ReadableStart start{.entry = program.startEntry, .name = program.name};
    const bool isKnown = std::find(offered.begin(), offered.end(), start) != offered.end();
    if (!start.entry.empty() && !isKnown) offered.push_back(start);
  }
  chooseProgram(StatusWindowButton::programsPrimary, offered, callbacks.onMakeReadable);
}

void StatusWindowController::Implementation::chooseProgramToUndo() {
  chooseProgram(StatusWindowButton::programsSecondary, callbacks.snapshotProvider().programs.changed,
                callbacks.onUndoReadable);
}

void StatusWindowController::Implementation::chooseKindToUnmute() {
  chooseKind(StatusWindowButton::mutedPrimary, [](Implementation& self, const Uuid& kind) {
    callIfSet(self.callbacks.onUnmute, kind);
    self.refresh();
  });
}

// One menu after the other; the first has to have gone.
void StatusWindowController::Implementation::chooseKindToEnd() {
  chooseKind(StatusWindowButton::mutedSecondary, [](Implementation& self, const Uuid& kind) {
    self.dependencies.executors.mainThread().post([weak = self.weak_from_this(), kind] {
      if (const auto live = weak.lock()) live->chooseEnd(kind);
    });
  });
}

void StatusWindowController::Implementation::chooseEnd(const Uuid& kind) {
  const auto snapshot = callbacks.snapshotProvider();
  const auto& muted = snapshot.muted;
  const auto isKind = [&](const MutedKind& one) { return one.id == kind; };
  if (std::none_of(muted.begin(), muted.end(), isKind)) return refresh();  // It has ended meanwhile.
  std::vector<MenuItemContent> items;
  for (const auto& end : kMuteEnds) items.push_back({snapshot.texts(end.title)});
  view->popUpMenu(StatusWindowButton::mutedSecondary, items, [weak = weak_from_this(), kind](std::size_t index) {
    const auto self = weak.lock();
    if (!self || index >= kMuteEnds.size()) return;
    callIfSet(self->callbacks.onSetMuteEnd, kind, kMuteEnds[index].after);
    self->refresh();
  });
}

void StatusWindowController::Implementation::chooseKind(StatusWindowButton button,
                                                        const std::function<void(Implementation&, const Uuid&)>& act) {
  std::vector<MenuItemContent> items;
  std::vector<Uuid> kinds;
  const auto snapshot = callbacks.snapshotProvider();
  const auto& say = snapshot.texts;
  for (const auto& kind : snapshot.muted) {
    if (items.size() == kMostMenuItems) break;
    items.push_back({StatusRows::mutedName(kind, say)});
    kinds.push_back(kind.id);
  }
  if (items.empty()) return refresh();
  view->popUpMenu(button, items, [weak = weak_from_this(), kinds = std::move(kinds), act](std::size_t index) {
    const auto self = weak.lock();
    if (self && index < kinds.size()) act(*self, kinds[index]);
  });
}

void StatusWindowController::Implementation::chooseProgram(StatusWindowButton button,
                                                           const std::vector<platform::ReadableStart>& programs,
                                                           const std::function<void(const std::string&)>& act) {
  std::vector<MenuItemContent> items;
  std::vector<std::string> entries;
  for (const auto& program : programs) {
    items.push_back({printableText(program.name)});
    entries.push_back(program.entry);
  }
  if (items.empty()) return refresh();  // They have gone meanwhile.
  view->popUpMenu(button, items, [weak = weak_from_this(), entries = std::move(entries), act](std::size_t index) {
    const auto self = weak.lock();
    if (!self || index >= entries.size()) return;
    callIfSet(act, entries[index]);
    self->refresh();
  });
}

StatusWindowController::StatusWindowController(StatusWindowCallbacks callbacks,
                                               const StatusWindowDependencies& dependencies)
    : implementation(std::make_shared<Implementation>(std::move(callbacks), dependencies)) {
  implementation->makeView();
}

StatusWindowController::~StatusWindowController() = default;

void StatusWindowController::show() { implementation->show(); }

void StatusWindowController::close() { implementation->close(); }

void StatusWindowController::makeWay() { implementation->makeWay(); }

void StatusWindowController::refresh() { implementation->refresh(); }

}  // namespace quillard
