#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/linux/accessibility/NodeRecord.h"
#include "platform/linux/windows/DesktopWindows.h"
#include "values/Geometry.h"

// What an object of the accessibility bus is in the vocabulary of AX. Nothing but values in and values out: the
// traits of each toolkit are here and nowhere else.
namespace quillard::atspi::mapping {

inline constexpr std::string_view kImageRole = "AXImage";

// Which toolkit speaks. GTK 3 and 4 give themselves the same name in different letter case, and a version each.
[[nodiscard]] Toolkit toolkitOf(std::string_view name, std::string_view version);

// The AX role of an object inside a window. Dialogs in there are up to the caller (`isDialogRole`).
// `hasChildren`: paragraphs and headings are texts only when they hold no texts of their own.
[[nodiscard]] std::string_view roleOf(const NodeRecord& record, bool hasChildren);

// Whether a top-level object is a window of its application; menus and tooltips are not.
[[nodiscard]] bool isWindowRole(Role role);
[[nodiscard]] bool isDialogRole(Role role);
// What a window says of its kind beyond being a window or dialog, as a role description. Empty: nothing.
[[nodiscard]] std::string_view roleDescriptionOf(Role role);
// Whether the object takes presses and input, as far as its toolkit says.
[[nodiscard]] bool isEnabled(const NodeRecord& record);
// Whether nobody but the user may read what was typed there: a password field; of the shell, any field.
[[nodiscard]] bool isSecret(const NodeRecord& record, Toolkit toolkit);
// Whether it is a text of many lines that cannot be edited: toolkits have another role for labels.
[[nodiscard]] bool isDocument(const NodeRecord& record);

// Whether a window is a dialog, by what it says or by what its X window says (null: no such window is known).
[[nodiscard]] bool isDialogWindow(const NodeRecord& record, const desktop::Window* window);
[[nodiscard]] bool isModal(const NodeRecord& record, const desktop::Window* window);
// Whether a window whose state is not active is not: dialogs of GTK 4 never say that they are.
[[nodiscard]] bool tellsActivity(const NodeRecord& record, Toolkit toolkit);
// Whether a top-level window takes part in what the user sees, or would after being restored. What was closed but is
// kept by its program does not. `showsOwnedOnly`: windows of the process are known to the
// desktop, and none is missing there.
[[nodiscard]] bool isPresentWindow(const NodeRecord& record, Toolkit toolkit, const desktop::Window* window,
                                   bool showsOwnedOnly);

// Whether the user can see the object, as far as its toolkit says. `windowTells`: the window that it lies in says of
// itself that it is showing.
[[nodiscard]] bool isShown(const NodeRecord& record, Toolkit toolkit, bool windowTells);
// Whether the object takes up no room, so that nobody can read it: a text or button without any extent.
[[nodiscard]] bool takesNoRoom(const NodeRecord& record, Toolkit toolkit);

[[nodiscard]] std::string windowTitle(const NodeRecord& record, Toolkit toolkit, const desktop::Window* window);
// `label`: the name of the only label inside the button, where there is one.
[[nodiscard]] std::string buttonTitle(const NodeRecord& record, Toolkit toolkit,
                                      const std::optional<std::string>& label);
// The name of anything else. Empty where it is only the name of a class.
[[nodiscard]] std::string nameOf(const NodeRecord& record, Toolkit toolkit);
[[nodiscard]] std::string descriptionOf(const NodeRecord& record, Toolkit toolkit);
// The text of a label, or of a field that is no secret. Absent when it shows none.
[[nodiscard]] std::optional<std::string> textOf(const NodeRecord& record, Toolkit toolkit);

// The place of an object on the screen. `record`, and `windowRecord` of the window that it lies in, come from one
// toolkit; `window`: its X window, null when unknown. Without one, GTK 4 and Wayland clients tell places within the
// window only: good for order and size. Absent for objects that are nowhere.
[[nodiscard]] std::optional<Rect> frameOf(const NodeRecord& record, const NodeRecord& windowRecord, Toolkit toolkit,
                                          const desktop::Window* window);
// Of a window itself.
[[nodiscard]] std::optional<Rect> windowFrame(const NodeRecord& record, const desktop::Window* window);

// What is read of an object besides role, states and name.
struct DetailNeeds {
  bool extents = false;
  bool description = false;
  bool text = false;
  [[nodiscard]] bool any() const { return extents || description || text; }
};
[[nodiscard]] DetailNeeds detailNeeds(const NodeRecord& record, Toolkit toolkit, bool isTopLevel);

}  // namespace quillard::atspi::mapping
