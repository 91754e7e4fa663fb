#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillard::platform {

// What the core reads of elements, sets and asks of them. Enumerations, so that a binding maps them by a `switch`
// without a default: one that forgets a name does not compile, and no binding has to know how another system spells it.
// Their spelling is that of AX, which recordings, diagnostics and the simulated desktop use as text.
//
// Enumerators are contiguous from 0, and `nameOf` gives a text for each of them.
enum class AXKnownAttribute : std::uint8_t {
  role,
  subrole,
  title,
  description,
  value,
  modal,
  children,
  windows,
  parent,
  position,
  size,
  mainWindow,
  focusedWindow,
  focusedUIElement,
  minimized,
  main,
  focused,
  frontmost,
  defaultButton,
  cancelButton,
  enabled,
  roleDescription,
};

enum class AXKnownAction : std::uint8_t { press, raise, confirm, cancel };

// Empty beyond the last enumerator.
[[nodiscard]] constexpr std::string_view nameOf(AXKnownAttribute attribute) {
  switch (attribute) {
    case AXKnownAttribute::role:
      return "AXRole";
    case AXKnownAttribute::subrole:
      return "AXSubrole";
    case AXKnownAttribute::title:
      return "AXTitle";
    case AXKnownAttribute::description:
      return "AXDescription";
    case AXKnownAttribute::value:
      return "AXValue";
    case AXKnownAttribute::modal:
      return "AXModal";
    case AXKnownAttribute::children:
      return "AXChildren";
    case AXKnownAttribute::windows:
      return "AXWindows";
    case AXKnownAttribute::parent:
      return "AXParent";
    case AXKnownAttribute::position:
      return "AXPosition";
    case AXKnownAttribute::size:
      return "AXSize";
    case AXKnownAttribute::mainWindow:
      return "AXMainWindow";
    case AXKnownAttribute::focusedWindow:
      return "AXFocusedWindow";
    case AXKnownAttribute::focusedUIElement:
      return "AXFocusedUIElement";
    case AXKnownAttribute::minimized:
      return "AXMinimized";
    case AXKnownAttribute::main:
      return "AXMain";
    case AXKnownAttribute::focused:
      return "AXFocused";
    case AXKnownAttribute::frontmost:
      return "AXFrontmost";
    case AXKnownAttribute::defaultButton:
      return "AXDefaultButton";
    case AXKnownAttribute::cancelButton:
      return "AXCancelButton";
    case AXKnownAttribute::enabled:
      return "AXEnabled";
    case AXKnownAttribute::roleDescription:
      return "AXRoleDescription";
  }
  return {};
}

[[nodiscard]] constexpr std::string_view nameOf(AXKnownAction action) {
  switch (action) {
    case AXKnownAction::press:
      return "AXPress";
    case AXKnownAction::raise:
      return "AXRaise";
    case AXKnownAction::confirm:
      return "AXConfirm";
    case AXKnownAction::cancel:
      return "AXCancel";
  }
  return {};
}

template <class Known>
inline constexpr std::size_t kKnownCount = [] {
  std::uint8_t count = 0;
  while (!nameOf(static_cast<Known>(count)).empty()) ++count;
  return count;
}();

// The name of an attribute or an action: a known one, or the text of one that only some application has (which nothing
// but recordings and tests ask for). A text that spells a known name is that known name. Exact and case-sensitive.
//
// A view, to be passed on and not to be kept: a foreign text has to outlive it, a known name lives for ever.
template <class Known>
class AXName {
 public:
  constexpr AXName(Known name) : knownName(name), text(nameOf(name)) {}
  constexpr AXName(std::string_view text) : knownName(knownAs(text)), text(text) {}
  constexpr AXName(const char* text) : AXName(std::string_view(text)) {}
  AXName(const std::string& text) : AXName(std::string_view(text)) {}

  // Absent: foreign.
  [[nodiscard]] constexpr std::optional<Known> known() const { return knownName; }
  [[nodiscard]] constexpr std::string_view name() const { return text; }
  constexpr operator std::string_view() const { return text; }

  friend constexpr bool operator==(AXName left, AXName right) { return left.text == right.text; }
  template <std::convertible_to<std::string_view> Text>
  requires(!std::same_as<Text, AXName>) friend constexpr bool operator==(AXName left, const Text& right) {
    return left.text == std::string_view(right);
  }
  template <std::convertible_to<std::string_view> Text>
  requires(!std::same_as<Text, AXName>) friend constexpr std::strong_ordering operator<=>(AXName left,
                                                                                          const Text& right) {
    return left.text <=> std::string_view(right);
  }

 private:
  static constexpr std::optional<Known> knownAs(std::string_view text) {
    for (std::uint8_t i = 0; i < kKnownCount<Known>; ++i) {
      if (nameOf(static_cast<Known>(i)) == text) return static_cast<Known>(i);
    }
    return std::nullopt;
  }

  std::optional<Known> knownName;
  std::string_view text;
};

using AXAttribute = AXName<AXKnownAttribute>;
using AXAction = AXName<AXKnownAction>;

namespace ax {
inline constexpr AXAttribute kRole = AXKnownAttribute::role;
inline constexpr AXAttribute kSubrole = AXKnownAttribute::subrole;
inline constexpr AXAttribute kTitle = AXKnownAttribute::title;
inline constexpr AXAttribute kDescription = AXKnownAttribute::description;
inline constexpr AXAttribute kValue = AXKnownAttribute::value;
inline constexpr AXAttribute kModal = AXKnownAttribute::modal;
inline constexpr AXAttribute kChildren = AXKnownAttribute::children;
inline constexpr AXAttribute kWindows = AXKnownAttribute::windows;
inline constexpr AXAttribute kParent = AXKnownAttribute::parent;
inline constexpr AXAttribute kPosition = AXKnownAttribute::position;
inline constexpr AXAttribute kSize = AXKnownAttribute::size;
inline constexpr AXAttribute kMainWindow = AXKnownAttribute::mainWindow;
inline constexpr AXAttribute kFocusedWindow = AXKnownAttribute::focusedWindow;
inline constexpr AXAttribute kFocusedUIElement = AXKnownAttribute::focusedUIElement;
inline constexpr AXAttribute kMinimized = AXKnownAttribute::minimized;
inline constexpr AXAttribute kMain = AXKnownAttribute::main;
inline constexpr AXAttribute kFocused = AXKnownAttribute::focused;
inline constexpr AXAttribute kFrontmost = AXKnownAttribute::frontmost;
inline constexpr AXAttribute kDefaultButton = AXKnownAttribute::defaultButton;
inline constexpr AXAttribute kCancelButton = AXKnownAttribute::cancelButton;
inline constexpr AXAttribute kEnabled = AXKnownAttribute::enabled;
inline constexpr AXAttribute kRoleDescription = AXKnownAttribute::roleDescription;

inline constexpr AXAction kPressAction = AXKnownAction::press;
inline constexpr AXAction kRaiseAction = AXKnownAction::raise;
inline constexpr AXAction kConfirmAction = AXKnownAction::confirm;
inline constexpr AXAction kCancelAction = AXKnownAction::cancel;

// Values of the role and subrole. Text, since applications make up roles of their own.
inline constexpr std::string_view kApplicationRole = "AXApplication";
inline constexpr std::string_view kWindowRole = "AXWindow";
inline constexpr std::string_view kSheetRole = "AXSheet";
inline constexpr std::string_view kButtonRole = "AXButton";
inline constexpr std::string_view kStaticTextRole = "AXStaticText";
inline constexpr std::string_view kTextFieldRole = "AXTextField";
inline constexpr std::string_view kToolbarRole = "AXToolbar";
inline constexpr std::string_view kOutlineRole = "AXOutline";
inline constexpr std::string_view kTabGroupRole = "AXTabGroup";
inline constexpr std::string_view kSidebarRole = "AXSidebar";
inline constexpr std::string_view kGroupRole = "AXGroup";
inline constexpr std::string_view kCheckBoxRole = "AXCheckBox";
inline constexpr std::string_view kRadioButtonRole = "AXRadioButton";
inline constexpr std::string_view kComboBoxRole = "AXComboBox";
inline constexpr std::string_view kSliderRole = "AXSlider";
inline constexpr std::string_view kIncrementorRole = "AXIncrementor";
inline constexpr std::string_view kListRole = "AXList";
inline constexpr std::string_view kTableRole = "AXTable";
inline constexpr std::string_view kBrowserRole = "AXBrowser";
inline constexpr std::string_view kProgressIndicatorRole = "AXProgressIndicator";
inline constexpr std::string_view kMenuBarRole = "AXMenuBar";
inline constexpr std::string_view kLinkRole = "AXLink";

inline constexpr std::string_view kDialogSubrole = "AXDialog";
inline constexpr std::string_view kSecureTextFieldSubrole = "AXSecureTextField";
// Of a static text that is a document to be read, rather than a label: no system's own.
inline constexpr std::string_view kTextAreaSubrole = "AXTextArea";

// Role descriptions, where a binding knows more of a window than its role and subrole tell. On systems that write them
// for people, in their language, they say something else: nothing else is concluded from one.
inline constexpr std::string_view kAlertDescription = "alert";
inline constexpr std::string_view kChooserDescription = "chooser";
}  // namespace ax

}  // namespace quillard::platform
