#pragma once

#include <string>
#include <vector>

#include "golden/JudgedWindow.h"

namespace quillard::golden {

// How a toolkit builds a window, as accessibility shows it.
enum class Build {
  alert,   // A message box: GtkMessageDialog, QMessageBox, an alert inside a window.
  dialog,  // GtkDialog, QDialog.
  frame,   // A plain window.
};

// A window as some program of Debian's desktops shows it, written down from what its toolkit makes of it.
struct SampleWindow {
  std::string name;
  Kind kind = Kind::prompt;
  Build build = Build::dialog;
  std::string application;
  std::string title;
  std::vector<std::string> lines;
  std::vector<std::string> buttons;  // One that begins with "-" takes no presses.
  // Roles of its other parts: "AXTextField", "AXList", …; "secret" is a field for one, "chooser" makes it one.
  std::vector<std::string> parts{};
  bool isModal = true;
};

[[nodiscard]] const std::vector<SampleWindow>& sampleWindows();
[[nodiscard]] std::vector<JudgedWindow> judgedSamples();
void openSampleWindow(const SampleWindow& sample, platform::simulated::SimulatedWorld& world);

}  // namespace quillard::golden
