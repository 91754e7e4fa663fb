#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/process/Executors.h"
#include "status/view/StatusWindowView.h"

namespace quillard::platform::simulated {

struct ShownMenu {
  StatusWindowButton under = StatusWindowButton::notificationPauseSecondary;
  std::vector<MenuItemContent> items;
};

struct ShownField {
  TextQuestion question;
  TakeText take;
  std::string problem{};  // What the agent says of the text that was entered last. Empty: nothing.
};

// Where each button stands in `content`; absent: it is not shown.
[[nodiscard]] std::optional<ButtonContent> buttonOf(const StatusWindowContent& content, StatusWindowButton button);

// One status window and the person before it. What that person does comes to the agent in a later turn of the main
// thread, and not at all when the window was destroyed by then.
class SimulatedStatusWindow {
 public:
  // `executors` outlives this.
  SimulatedStatusWindow(Executors& executors, StatusWindowEvents events);

  [[nodiscard]] bool isVisible() const { return isShown; }
  // Whether it has made way for other windows since it was shown.
  [[nodiscard]] bool isBehind() const { return hasMadeWay; }
  // Absent until content was set.
  [[nodiscard]] const std::optional<StatusWindowContent>& content() const { return itsContent; }
  [[nodiscard]] int contentCount() const { return contents; }  // How often content was set, equal or not.
  [[nodiscard]] int showCount() const { return shows; }
  [[nodiscard]] int fitCount() const { return fits; }
  [[nodiscard]] int appearanceUpdateCount() const { return appearanceUpdates; }
  // The menu that is open now.
  [[nodiscard]] const std::optional<ShownMenu>& menu() const { return itsMenu; }
  // The field that is open now.
  [[nodiscard]] const std::optional<ShownField>& field() const { return itsField; }
  [[nodiscard]] std::vector<std::string> menuTitles() const;  // A separator is an empty title. No menu: empty.

  // Each is false, and nothing happens, when a person could not do that now.
  bool click(StatusWindowButton button);
  bool chooseMenuItem(std::string_view title);
  bool dismissMenu();
  // What the agent says of it is in `field`, in that later turn.
  bool enterText(const std::string& text);
  bool cancelText();
  bool closeByUser();  // The window goes in that later turn, too.
  // Light to dark, or back: also while the window is hidden.
  void changeAppearance();

 private:
  friend class SimulatedStatusWindowView;
  void tell(std::function<void(const StatusWindowEvents&)> what);

  Executors& executors;
  std::shared_ptr<StatusWindowEvents> events;  // Those of the view that is still there; empty after it.
  std::optional<StatusWindowContent> itsContent;
  std::optional<ShownMenu> itsMenu;
  std::optional<ShownField> itsField;
  std::function<void(std::size_t)> onMenuChoice;
  bool isShown = false;
  bool hasMadeWay = false;
  int contents = 0;
  int shows = 0;
  int fits = 0;
  int appearanceUpdates = 0;
};

class SimulatedStatusWindowViews final : public StatusWindowViews {
 public:
  // `executors` outlives this.
  explicit SimulatedStatusWindowViews(Executors& executors) : executors(executors) {}

  // Every window that was made, oldest first, destroyed ones included.
  [[nodiscard]] const std::vector<std::shared_ptr<SimulatedStatusWindow>>& windows() const { return made; }
  // The newest. There must be one.
  [[nodiscard]] SimulatedStatusWindow& window() const { return *made.back(); }

  [[nodiscard]] std::unique_ptr<StatusWindowView> makeStatusWindowView(StatusWindowEvents events) override;

 private:
  Executors& executors;
  std::vector<std::shared_ptr<SimulatedStatusWindow>> made;
};

}  // namespace quillard::platform::simulated
