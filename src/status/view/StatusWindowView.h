#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "values/Images.h"

namespace quillard {

// Everything that the status window shows, as values: the view draws it and decides nothing.
enum class StatusWindowButton {
  pairingAction,
  pairAnother,
  unpairPhone,
  installLocationPrimary,
  installLocationSecondary,
  accessibilityPrimary,
  accessibilitySecondary,
  loginItemPrimary,
  loginItemSecondary,
  updatePrimary,
  updateSecondary,
  notificationPausePrimary,
  notificationPauseSecondary,
  questionPrimary,
  questionSecondary,
  programsPrimary,
  programsSecondary,
  mutedPrimary,
  mutedSecondary,
  relayPrimary,
  relaySecondary,
  none,        // Of a row that has no such button.
  firstPhone,  // Of the first row of `StatusWindowContent::phones`; those of the others follow.
};

// So many phones have a row of their own.
inline constexpr std::size_t kMostPhoneRows = 12;

[[nodiscard]] constexpr StatusWindowButton phoneButton(std::size_t row) {
  return static_cast<StatusWindowButton>(static_cast<std::size_t>(StatusWindowButton::firstPhone) + row);
}
// Absent: the button is of no phone's row.
[[nodiscard]] constexpr std::optional<std::size_t> phoneRowOf(StatusWindowButton button) {
  const auto number = static_cast<std::size_t>(button);
  const auto first = static_cast<std::size_t>(StatusWindowButton::firstPhone);
  if (number < first || number >= first + kMostPhoneRows) return std::nullopt;
  return number - first;
}

struct ButtonContent {
  std::string title;
  bool isEnabled = true;
  bool operator==(const ButtonContent&) const = default;
};

// How a text or mark is coloured: by a fixed colour, or as the system colours secondary labels.
struct Tint {
  std::optional<Color> color;  // Absent: the system's secondary label colour.
  bool operator==(const Tint&) const = default;
};

struct StatusRowContent {
  std::string symbol;  // The name of a symbol that the view can draw.
  Tint tint;           // Of the symbol and the status dot.
  std::string title;
  std::string status;
  std::string detail;
  std::optional<ButtonContent> primaryButton;    // Absent: not shown.
  std::optional<ButtonContent> secondaryButton;  // Absent: not shown.
  bool operator==(const StatusRowContent&) const = default;
};

struct StatusWindowContent {
  std::string title;
  std::string headline;
  std::string detail;
  std::string pillText;
  Color pillColor;
  std::string pairingTitle;
  std::string pairingDetail;
  std::string pairingStatus;
  Tint pairingStatusTint;
  std::optional<LazyBitmap> pairingImage;  // Absent: the symbol of that name and description stands in its place.
  std::string placeholderSymbol;
  std::string placeholderDescription;
  std::string pairingCaption;
  std::string codeDescription{};          // What assistive programs call the code.
  std::string pageCaption{};              // Where phones get their page. Empty: not shown.
  std::optional<LazyBitmap> pageImage{};  // The same as a code for any camera, smaller. Absent: none.
  std::string pageDescription{};          // What assistive programs call that one.
  std::optional<ButtonContent> pairingActionButton;
  std::optional<ButtonContent> pairAnotherButton;
  std::optional<ButtonContent> unpairPhoneButton;
  StatusRowContent installLocation;
  StatusRowContent accessibility;
  StatusRowContent loginItem;
  StatusRowContent update;
  StatusRowContent notificationPause;
  std::optional<StatusRowContent> question;    // Above the others. Absent: no program asks.
  std::vector<StatusRowContent> phones;        // At most `kMostPhoneRows`; their secondary button unpairs.
  std::optional<StatusRowContent> programs{};  // Absent: not shown.
  std::optional<StatusRowContent> muted{};     // Absent: nothing is muted.
  std::optional<StatusRowContent> relay{};     // Absent: not shown.
  bool operator==(const StatusWindowContent&) const = default;
};

struct MenuItemContent {
  std::string title;  // Empty: a separator.
  bool isEnabled = true;
  bool operator==(const MenuItemContent&) const = default;
};

// A text that a person is asked for.
struct TextQuestion {
  std::string title;
  std::string explanation;
  std::string text;               // That stands in the field at first.
  std::string accept;             // The title of the button that takes the text.
  std::string cancel = "Cancel";  // That of the one beside it.
  bool operator==(const TextQuestion&) const = default;
};
// Takes the text: why it cannot be taken, which is shown, and the field stays open; or absent, and it closes.
using TakeText = std::function<std::optional<std::string>(const std::string&)>;

struct StatusWindowEvents {
  std::function<void(StatusWindowButton)> onButton;
  std::function<void()> onWillClose;         // The user closed the window; it can be shown again.
  std::function<void()> onAppearanceChange;  // Light to dark, or back.
};

// The agent's only window. Main thread; callbacks too.
class StatusWindowView {
 public:
  StatusWindowView() = default;
  StatusWindowView(const StatusWindowView&) = delete;
  StatusWindowView& operator=(const StatusWindowView&) = delete;
  virtual ~StatusWindowView() = default;

  // Takes the place of all that was shown. Keeps scroll position and keyboard focus where they still make sense.
  virtual void setContent(const StatusWindowContent& content) = 0;
  // Fits the window to the screen it is on, keeping its size where it can.
  virtual void fitToScreen() = 0;
  // Shows the window at the normal level, in front, with the keyboard.
  virtual void show() = 0;
  // Lets every other window come before it: behind them where windows can be put there, minimised elsewhere, and closed
  // as by a person where neither can be. Nothing happens while it is hidden.
  virtual void makeWay() = 0;
  // Hides it; `onWillClose` is not called.
  virtual void close() = 0;
  [[nodiscard]] virtual bool isVisible() const = 0;
  // Redraws all that depends on light or dark.
  virtual void updateAppearance() = 0;
  // Pops up a menu 4 points under `button`. `onChoice` comes at most once, with the index of the chosen item.
  virtual void popUpMenu(StatusWindowButton button, const std::vector<MenuItemContent>& items,
                         std::function<void(std::size_t)> onChoice) = 0;
  // Opens a field for a text, above the window and with the keyboard, and returns immediately. One at a time: a newer
  // one takes the place of an older one. It goes with the window; whoever cancels it is not asked any more.
  virtual void askForText(const TextQuestion& question, TakeText take) = 0;
};

class StatusWindowViews {
 public:
  virtual ~StatusWindowViews() = default;
  [[nodiscard]] virtual std::unique_ptr<StatusWindowView> makeStatusWindowView(StatusWindowEvents events) = 0;
};

}  // namespace quillard
