#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quillard::x11 {

// The names that this program and the X server speak of by number, in the order of `kAtomNames`.
enum class Atom : std::size_t {
  cardinal,
  window,
  atom,
  string,
  utf8String,
  netClientList,
  netClientListStacking,
  netActiveWindow,
  netCurrentDesktop,
  netSupportingWMCheck,
  netCloseWindow,
  netWMPid,
  netWMName,
  netWMState,
  netWMStateModal,
  netWMStateHidden,
  netWMStateSkipTaskbar,
  netWMStateAbove,
  netWMStateBelow,
  netWMWindowType,
  typeNormal,
  typeDialog,
  typeUtility,
  typeDock,
  typeDesktop,
  typeNotification,
  typeMenu,
  typeDropdownMenu,
  typePopupMenu,
  typeSplash,
  netWMDesktop,
  netFrameExtents,
  netWMWindowOpacity,
  gtkFrameExtents,
  wmState,
  wmName,
  wmClass,
  wmClientMachine,
  wmTransientFor,
  count,
};

inline constexpr auto kAtomCount = static_cast<std::size_t>(Atom::count);

inline constexpr std::array<std::string_view, kAtomCount> kAtomNames{
    "CARDINAL",
    "WINDOW",
    "ATOM",
    "STRING",
    "UTF8_STRING",
    "_NET_CLIENT_LIST",
    "_NET_CLIENT_LIST_STACKING",
    "_NET_ACTIVE_WINDOW",
    "_NET_CURRENT_DESKTOP",
    "_NET_SUPPORTING_WM_CHECK",
    "_NET_CLOSE_WINDOW",
    "_NET_WM_PID",
    "_NET_WM_NAME",
    "_NET_WM_STATE",
    "_NET_WM_STATE_MODAL",
    "_NET_WM_STATE_HIDDEN",
    "_NET_WM_STATE_SKIP_TASKBAR",
    "_NET_WM_STATE_ABOVE",
    "_NET_WM_STATE_BELOW",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_WINDOW_TYPE_NORMAL",
    "_NET_WM_WINDOW_TYPE_DIALOG",
    "_NET_WM_WINDOW_TYPE_UTILITY",
    "_NET_WM_WINDOW_TYPE_DOCK",
    "_NET_WM_WINDOW_TYPE_DESKTOP",
    "_NET_WM_WINDOW_TYPE_NOTIFICATION",
    "_NET_WM_WINDOW_TYPE_MENU",
    "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU",
    "_NET_WM_WINDOW_TYPE_POPUP_MENU",
    "_NET_WM_WINDOW_TYPE_SPLASH",
    "_NET_WM_DESKTOP",
    "_NET_FRAME_EXTENTS",
    "_NET_WM_WINDOW_OPACITY",
    "_GTK_FRAME_EXTENTS",
    "WM_STATE",
    "WM_NAME",
    "WM_CLASS",
    "WM_CLIENT_MACHINE",
    "WM_TRANSIENT_FOR",
};

// The numbers that one X server gave to the names.
class Atoms {
 public:
  std::uint32_t& operator[](Atom name) { return numbers.at(static_cast<std::size_t>(name)); }
  std::uint32_t operator[](Atom name) const { return numbers.at(static_cast<std::size_t>(name)); }

 private:
  std::array<std::uint32_t, kAtomCount> numbers{};
};

}  // namespace quillard::x11
