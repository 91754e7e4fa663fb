#pragma once

#include <cstdint>

namespace quillard::atspi {

// Roles and states as numbers of the accessibility bus. Role numbers mean the same with every toolkit, role names do
// not. Only those that something here depends on.
enum class Role : std::uint32_t {
  alert = 2,
  calendar = 5,
  checkBox = 7,
  checkMenuItem = 8,
  colorChooser = 9,
  comboBox = 11,
  dial = 15,
  dialog = 16,
  fileChooser = 19,
  filler = 20,
  fontChooser = 22,
  frame = 23,
  icon = 26,
  image = 27,
  label = 29,
  list = 31,
  menu = 33,
  menuBar = 34,
  menuItem = 35,
  pageTab = 37,
  pageTabList = 38,
  panel = 39,
  passwordText = 40,
  popupMenu = 41,
  progressBar = 42,
  pushButton = 43,
  radioButton = 44,
  radioMenuItem = 45,
  scrollPane = 49,
  slider = 51,
  spinButton = 52,
  table = 55,
  text = 61,
  toggleButton = 62,
  toolBar = 63,
  toolTip = 64,
  tree = 65,
  treeTable = 66,
  unknown = 67,
  window = 69,
  paragraph = 73,
  entry = 79,
  caption = 81,
  heading = 83,
  link = 88,
  listBox = 98,
  notification = 101,
  staticText = 116,
};

enum class State : unsigned {
  active = 1,
  checked = 4,
  defunct = 6,
  editable = 7,
  enabled = 8,
  focused = 12,
  iconified = 15,
  modal = 16,
  sensitive = 24,
  showing = 25,
  indeterminate = 32,
  isDefault = 39,
};

[[nodiscard]] constexpr bool has(std::uint64_t states, State state) {
  return ((states >> static_cast<unsigned>(state)) & 1U) != 0;
}

[[nodiscard]] constexpr std::uint64_t bit(State state) { return std::uint64_t{1} << static_cast<unsigned>(state); }

}  // namespace quillard::atspi
