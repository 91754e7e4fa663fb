#include "platform/simulated/SimulatedStatusWindow.h"

#include <algorithm>
#include <utility>

namespace quillard::platform::simulated {

// The agent's end of a window.
class SimulatedStatusWindowView final : public StatusWindowView {
 public:
  explicit SimulatedStatusWindowView(std::shared_ptr<SimulatedStatusWindow> window) : window(std::move(window)) {}
  ~SimulatedStatusWindowView() override {
    close();
    window->events.reset();
  }

  void setContent(const StatusWindowContent& content) override {
    window->itsContent = content;
    ++window->contents;
  }
  void fitToScreen() override { ++window->fits; }
  void show() override {
    window->isShown = true;
    window->hasMadeWay = false;
    ++window->shows;
  }
  void makeWay() override { window->hasMadeWay = window->isShown; }
  void close() override {
    window->isShown = false;
    window->itsMenu.reset();
    window->onMenuChoice = nullptr;
    window->itsField.reset();
  }
  [[nodiscard]] bool isVisible() const override { return window->isShown; }
  void updateAppearance() override { ++window->appearanceUpdates; }
  void popUpMenu(StatusWindowButton button, const std::vector<MenuItemContent>& items,
                 std::function<void(std::size_t)> onChoice) override {
    window->itsMenu = ShownMenu{button, items};
    window->onMenuChoice = std::move(onChoice);
  }
  void askForText(const TextQuestion& question, TakeText take) override {
    window->itsField = ShownField{question, std::move(take)};
  }

 private:
  std::shared_ptr<SimulatedStatusWindow> window;
};

std::optional<ButtonContent> buttonOf(const StatusWindowContent& content, StatusWindowButton button) {
  if (const auto row = phoneRowOf(button)) {
    return *row < content.phones.size() ? content.phones[*row].secondaryButton : std::nullopt;
  }
  switch (button) {
    case StatusWindowButton::none:
    case StatusWindowButton::firstPhone:
      return std::nullopt;
    case StatusWindowButton::pairingAction:
      return content.pairingActionButton;
    case StatusWindowButton::pairAnother:
      return content.pairAnotherButton;
    case StatusWindowButton::unpairPhone:
      return content.unpairPhoneButton;
    case StatusWindowButton::installLocationPrimary:
      return content.installLocation.primaryButton;
    case StatusWindowButton::installLocationSecondary:
      return content.installLocation.secondaryButton;
    case StatusWindowButton::accessibilityPrimary:
      return content.accessibility.primaryButton;
    case StatusWindowButton::accessibilitySecondary:
      return content.accessibility.secondaryButton;
    case StatusWindowButton::loginItemPrimary:
      return content.loginItem.primaryButton;
    case StatusWindowButton::loginItemSecondary:
      return content.loginItem.secondaryButton;
    case StatusWindowButton::updatePrimary:
      return content.update.primaryButton;
    case StatusWindowButton::updateSecondary:
      return content.update.secondaryButton;
    case StatusWindowButton::notificationPausePrimary:
      return content.notificationPause.primaryButton;
    case StatusWindowButton::notificationPauseSecondary:
      return content.notificationPause.secondaryButton;
    case StatusWindowButton::questionPrimary:
      return content.question ? content.question->primaryButton : std::nullopt;
    case StatusWindowButton::questionSecondary:
      return content.question ? content.question->secondaryButton : std::nullopt;
    case StatusWindowButton::programsPrimary:
      return content.programs ? content.programs->primaryButton : std::nullopt;
    case StatusWindowButton::programsSecondary:
      return content.programs ? content.programs->secondaryButton : std::nullopt;
    case StatusWindowButton::mutedPrimary:
      return content.muted ? content.muted->primaryButton : std::nullopt;
    case StatusWindowButton::mutedSecondary:
      return content.muted ? content.muted->secondaryButton : std::nullopt;
    case StatusWindowButton::relayPrimary:
      return content.relay ? content.relay->primaryButton : std::nullopt;
    case StatusWindowButton::relaySecondary:
      return content.relay ? content.relay->secondaryButton : std::nullopt;
  }
  return std::nullopt;
}

SimulatedStatusWindow::SimulatedStatusWindow(Executors& executors, StatusWindowEvents events)
    : executors(executors), events(std::make_shared<StatusWindowEvents>(std::move(events))) {}

std::vector<std::string> SimulatedStatusWindow::menuTitles() const {
  std::vector<std::string> titles;
  if (!itsMenu) return titles;
  for (const auto& item : itsMenu->items) titles.push_back(item.title);
  return titles;
}

bool SimulatedStatusWindow::click(StatusWindowButton button) {
  if (!isShown || !itsContent || itsMenu || itsField) return false;
  const auto shown = buttonOf(*itsContent, button);
  if (!shown || !shown->isEnabled) return false;
  tell([button](const StatusWindowEvents& told) {
    if (told.onButton) told.onButton(button);
  });
  return true;
}

bool SimulatedStatusWindow::chooseMenuItem(std::string_view title) {
  if (!itsMenu || title.empty()) return false;
  const auto& items = itsMenu->items;
  const auto item =
      std::find_if(items.begin(), items.end(), [&](const auto& candidate) { return candidate.title == title; });
  if (item == items.end() || !item->isEnabled) return false;
  const auto index = static_cast<std::size_t>(item - items.begin());
  itsMenu.reset();
  tell([index, onChoice = std::exchange(onMenuChoice, nullptr)](const StatusWindowEvents&) {
    if (onChoice) onChoice(index);
  });
  return true;
}

bool SimulatedStatusWindow::dismissMenu() {
  onMenuChoice = nullptr;
  return std::exchange(itsMenu, std::nullopt).has_value();
}

bool SimulatedStatusWindow::enterText(const std::string& text) {
  if (!itsField) return false;
  tell([this, text](const StatusWindowEvents&) {
    if (!itsField) return;
    const auto take = itsField->take;
    auto problem = take(text);
    if (!itsField) return;
    itsField->problem = problem.value_or("");
    if (!problem) itsField.reset();
  });
  return true;
}

bool SimulatedStatusWindow::cancelText() { return std::exchange(itsField, std::nullopt).has_value(); }

bool SimulatedStatusWindow::closeByUser() {
  if (!isShown) return false;
  tell([this](const StatusWindowEvents& told) {  // Told while this is there, since the events are its own.
    if (!std::exchange(isShown, false)) return;
    dismissMenu();
    cancelText();
    if (told.onWillClose) told.onWillClose();
  });
  return true;
}

void SimulatedStatusWindow::changeAppearance() {
  tell([](const StatusWindowEvents& told) {
    if (told.onAppearanceChange) told.onAppearanceChange();
  });
}

void SimulatedStatusWindow::tell(std::function<void(const StatusWindowEvents&)> what) {
  executors.mainThread().post([told = std::weak_ptr(events), what = std::move(what)] {
    if (const auto present = told.lock()) what(*present);
  });
}

std::unique_ptr<StatusWindowView> SimulatedStatusWindowViews::makeStatusWindowView(StatusWindowEvents events) {
  made.push_back(std::make_shared<SimulatedStatusWindow>(executors, std::move(events)));
  return std::make_unique<SimulatedStatusWindowView>(made.back());
}

}  // namespace quillard::platform::simulated
