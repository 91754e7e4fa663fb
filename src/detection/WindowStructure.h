#pragma once

namespace quillard {

// What a window is made of, besides texts and buttons: counted among the elements that were read of it. On systems
// where a binding tells none of it, all is zero.
struct WindowStructure {
  bool isAlert = false;    // It calls itself an alert: a message box, which exists to tell or to ask.
  bool isChooser = false;  // It calls itself a chooser of files, colours or fonts, or holds one.
  bool isModal = false;    // It blocks other windows of its program.
  bool isCutOff = false;   // It is larger than what was read of it.

  int textFields = 0;  // To be typed into, secure ones left out.
  int secureFields = 0;
  int checkBoxes = 0;  // Toggle buttons among them.
  int radioButtons = 0;
  int comboBoxes = 0;
  int adjusters = 0;  // Sliders, and fields for numbers.
  int lists = 0;      // Tables and trees among them.
  int documents = 0;  // Texts that are scrolled or selected, and not edited.
  int progressBars = 0;
  int tabGroups = 0;
  int toolbars = 0;
  int menuBars = 0;

  bool operator==(const WindowStructure&) const = default;
};

}  // namespace quillard
