#include "platform/linux/accessibility/Mapping.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "foundation/Text.h"
#include "platform/desktop/Accessibility.h"
#include "platform/linux/accessibility/WindowMatching.h"
#include "platform/linux/windows/WindowTitles.h"

namespace quillard::atspi::mapping {

namespace ax = platform::ax;

namespace {

bool isText(Role role) {
  return role == Role::label || role == Role::staticText || role == Role::paragraph || role == Role::heading ||
         role == Role::caption;
}

bool isField(Role role) { return role == Role::text || role == Role::entry || role == Role::passwordText; }

bool isAsciiUpper(char c) { return c >= 'A' && c <= 'Z'; }

bool isAsciiWord(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return isAsciiUpper(c) || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); });
}

// GTK 4 names what has no name after its class.
bool isClassName(std::string_view name) {
  for (const std::string_view library : {"Gtk", "Adw"}) {
    if (name.size() > library.size() && name.starts_with(library) && isAsciiUpper(name[library.size()]) &&
        isAsciiWord(name)) {
      return true;
    }
  }
  return false;
}

// "_Open" -> "Open"; "snake__case" -> "snake_case".
std::string withoutMnemonic(std::string_view label) {
  std::string plain;
  for (std::size_t i = 0; i < label.size(); ++i) {
    if (label[i] == '_' && i + 1 < label.size()) ++i;
    plain += label[i];
  }
  return plain;
}

// GTK 4 joins a button's own label and the one of the label inside it: "X X", "_X X".
std::string withoutDoubling(const std::string& name) {
  for (std::size_t i = name.find(' '); i != std::string::npos; i = name.find(' ', i + 1)) {
    const std::string_view first = std::string_view{name}.substr(0, i);
    const std::string_view second = std::string_view{name}.substr(i + 1);
    if (first == second || withoutMnemonic(first) == second) return std::string(second);
  }
  return name;
}

// Where toolkits put what is nowhere.
bool isSentinel(const Rect& extents) {
  constexpr double kNowhere = std::numeric_limits<std::int32_t>::min();
  return extents.x <= kNowhere || extents.y <= kNowhere;
}

bool hasSize(const Rect& rect, const Rect& other) {
  constexpr double kRounding = 2;
  return std::abs(rect.width - other.width) <= kRounding && std::abs(rect.height - other.height) <= kRounding;
}

// Where a client of Wayland counts from, on the screen: from its buffer, or from what is seen of it. One that is
// smaller than both draws its own title bar, and counts from below that.
Point originOf(const Rect& accessibleWindow, const desktop::Window& window) {
  const Rect visible = visibleBounds(window);
  if (hasSize(window.clientBounds, accessibleWindow)) return {window.clientBounds.x, window.clientBounds.y};
  if (hasSize(visible, accessibleWindow)) return {visible.x, visible.y};
  const double side = (visible.width - accessibleWindow.width) / 2;
  return {visible.x + side, visible.y + visible.height - accessibleWindow.height - side};
}

// From the origin of its X window to the one that GTK 4 counts from.
Point contentOffset(const Rect& accessibleWindow, const desktop::Window& window) {
  if (window.gtkFrame) return {window.gtkFrame->left, window.gtkFrame->top};
  return {(window.clientBounds.width - accessibleWindow.width) / 2,
          (window.clientBounds.height - accessibleWindow.height) / 2};
}

}  // namespace

Toolkit toolkitOf(std::string_view name, std::string_view version) {
  const std::string lower = text::lowercased(name);
  if (lower == "qt") return Toolkit::qt;
  // The library that the shell's was made from, which programs used, has versions of its own.
  if (lower == "clutter" && !version.starts_with("0.") && !version.starts_with("1.")) return Toolkit::shell;
  if (lower != "gtk") return Toolkit::other;
  if (version.starts_with("3.") || version.starts_with("2.")) return Toolkit::gtk3;
  // The version decides; where it is missing, the letter case does.
  return version.empty() && name == "gtk" ? Toolkit::gtk3 : Toolkit::gtk4;
}

std::string_view roleOf(const NodeRecord& record, bool hasChildren) {
  switch (record.role) {
    case Role::pushButton:
      return ax::kButtonRole;
    case Role::toggleButton:
    case Role::checkBox:
      return ax::kCheckBoxRole;
    case Role::radioButton:
      return ax::kRadioButtonRole;
    case Role::label:
    case Role::staticText:
      return ax::kStaticTextRole;
    case Role::paragraph:
    case Role::heading:
    case Role::caption:
      return hasChildren ? ax::kGroupRole : ax::kStaticTextRole;
    case Role::passwordText:
      return ax::kTextFieldRole;
    case Role::text:
    case Role::entry:
      return record.is(State::editable) ? ax::kTextFieldRole : ax::kStaticTextRole;
    case Role::toolBar:
      return ax::kToolbarRole;
    case Role::tree:
    case Role::treeTable:
      return ax::kOutlineRole;
    case Role::pageTabList:
      return ax::kTabGroupRole;
    case Role::icon:
    case Role::image:
      return kImageRole;
    case Role::comboBox:
      return ax::kComboBoxRole;
    case Role::menuBar:
      return ax::kMenuBarRole;
    case Role::menu:
    case Role::popupMenu:
      return "AXMenu";
    case Role::menuItem:
    case Role::checkMenuItem:
    case Role::radioMenuItem:
      return "AXMenuItem";
    case Role::link:
      return ax::kLinkRole;
    case Role::slider:
    case Role::dial:
      return ax::kSliderRole;
    case Role::spinButton:
    case Role::calendar:  // A date is set in it.
      return ax::kIncrementorRole;
    case Role::list:
    case Role::listBox:
      return ax::kListRole;
    case Role::table:
      return ax::kTableRole;
    case Role::fileChooser:
    case Role::colorChooser:
    case Role::fontChooser:
      return ax::kBrowserRole;
    case Role::progressBar:
      return ax::kProgressIndicatorRole;
    default:
      return ax::kGroupRole;
  }
}

bool isWindowRole(Role role) { return role != Role::toolTip && role != Role::menu && role != Role::popupMenu; }

bool isDialogRole(Role role) { return role == Role::dialog || role == Role::alert; }

std::string_view roleDescriptionOf(Role role) {
  if (role == Role::alert) return ax::kAlertDescription;
  const bool isChooser = role == Role::fileChooser || role == Role::colorChooser || role == Role::fontChooser;
  return isChooser ? ax::kChooserDescription : "";
}

// Toolkits set both states or neither. A program that sets one of them is taken at its better word: a button that is
// offered without effect does no harm, one that is missing does.
bool isEnabled(const NodeRecord& record) { return record.is(State::enabled) || record.is(State::sensitive); }

bool isDocument(const NodeRecord& record) { return record.role == Role::text && !record.is(State::editable); }

// The shell's password fields turn into ordinary ones while they show what was typed.
bool isSecret(const NodeRecord& record, Toolkit toolkit) {
  if (record.role == Role::passwordText) return true;
  if (toolkit != Toolkit::shell) return false;
  return record.role == Role::entry || (record.role == Role::text && record.is(State::editable));
}

bool isDialogWindow(const NodeRecord& record, const desktop::Window* window) {
  if (isDialogRole(record.role) || isModal(record, window)) return true;
  if (!window) return false;
  // A window that belongs to another one and does not say what it is counts as a dialog, as window managers have it.
  return window->type == desktop::WindowType::dialog ||
         (window->type == desktop::WindowType::normal && window->transientFor.has_value());
}

bool isModal(const NodeRecord& record, const desktop::Window* window) {
  return record.is(State::modal) || (window && window->isModal);
}

bool tellsActivity(const NodeRecord& record, Toolkit toolkit) {
  return toolkit != Toolkit::gtk4 || record.role == Role::frame;
}

bool isPresentWindow(const NodeRecord& record, Toolkit toolkit, const desktop::Window* window, bool showsOwnedOnly) {
  if (!isWindowRole(record.role)) return false;
  if (window || record.is(State::showing)) return true;
  // GTK 4 never says of a dialog that it is showing.
  return toolkit == Toolkit::gtk4 && !showsOwnedOnly;
}

bool isShown(const NodeRecord& record, Toolkit toolkit, bool windowTells) {
  if (record.is(State::defunct)) return false;
  return toolkit == Toolkit::gtk4 || !windowTells || record.is(State::showing);
}

bool takesNoRoom(const NodeRecord& record, Toolkit toolkit) {
  const bool isContent = isText(record.role) || isField(record.role) || record.role == Role::pushButton;
  // Better a secret too many than a prompt that hides one.
  if (!isContent || isSecret(record, toolkit) || !record.extents) return false;
  return isSentinel(*record.extents) || !(record.extents->width > 0) || !(record.extents->height > 0);
}

std::string windowTitle(const NodeRecord& record, Toolkit toolkit, const desktop::Window* window) {
  // KWin numbers windows of the same title.
  if (window && isNumbered(*window, nameOf(record, toolkit))) return nameOf(record, toolkit);
  if (window && !window->name.empty()) return window->name;
  // GTK 3 names a message dialog without a title after its kind ("Question"), which is not shown.
  if (window && toolkit == Toolkit::gtk3 && record.role == Role::alert) return "";
  return nameOf(record, toolkit);
}

std::string buttonTitle(const NodeRecord& record, Toolkit toolkit, const std::optional<std::string>& label) {
  if (toolkit != Toolkit::gtk4) return record.name.value_or("");
  if (label && !label->empty()) return *label;
  const std::string name = nameOf(record, toolkit);
  const std::string single = withoutDoubling(name);
  return single == name ? withoutMnemonic(name) : single;
}

std::string nameOf(const NodeRecord& record, Toolkit toolkit) {
  if (!record.name || (toolkit == Toolkit::gtk4 && isClassName(*record.name))) return "";
  return *record.name;
}

std::string descriptionOf(const NodeRecord& record, Toolkit toolkit) {
  if (record.description && !record.description->empty()) return *record.description;
  return isSecret(record, toolkit) ? "Password" : "";
}

std::optional<std::string> textOf(const NodeRecord& record, Toolkit toolkit) {
  if (isSecret(record, toolkit)) return std::nullopt;
  const std::string name = nameOf(record, toolkit);
  if (isText(record.role) && !name.empty()) return name;
  if (record.text && !record.text->empty()) return record.text;
  return std::nullopt;
}

std::optional<Rect> frameOf(const NodeRecord& record, const NodeRecord& windowRecord, Toolkit toolkit,
                            const desktop::Window* window) {
  if (!record.extents || isSentinel(*record.extents)) return std::nullopt;
  Rect frame = *record.extents;
  if (window && window->hasRelativePlaces) {
    if (!windowRecord.extents || isSentinel(*windowRecord.extents)) return std::nullopt;
    // One that places itself, as Plasma's panel and its notifications do, gives places on the screen.
    if (windowRecord.extents->x != 0 || windowRecord.extents->y != 0) return frame;
    const auto origin = originOf(*windowRecord.extents, *window);
    frame.x += origin.x;
    frame.y += origin.y;
    return frame;
  }
  if (toolkit == Toolkit::gtk4 && window && windowRecord.extents) {
    const auto offset = contentOffset(*windowRecord.extents, *window);
    frame.x += window->clientBounds.x + offset.x;
    frame.y += window->clientBounds.y + offset.y;
  }
  return frame;
}

std::optional<Rect> windowFrame(const NodeRecord& record, const desktop::Window* window) {
  if (window) return visibleBounds(*window);
  if (!record.extents || isSentinel(*record.extents)) return std::nullopt;
  return record.extents;
}

DetailNeeds detailNeeds(const NodeRecord& record, Toolkit toolkit, bool isTopLevel) {
  if (isTopLevel || isDialogRole(record.role)) return {.extents = true};
  if (record.role == Role::notification && toolkit == Toolkit::qt) return {.extents = true, .description = true};
  const bool isNameless = nameOf(record, toolkit).empty();
  if (record.role == Role::pushButton) return {.extents = true, .description = isNameless};
  if (isText(record.role)) return {.extents = true, .description = isNameless, .text = isNameless};
  if (isSecret(record, toolkit)) return {.extents = true, .description = true};
  if (isField(record.role)) return {.extents = true, .description = isNameless, .text = true};
  return {};
}

}  // namespace quillard::atspi::mapping
