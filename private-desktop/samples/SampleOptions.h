#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quillard::samples {

enum class Kind {
  messageBox,    // The toolkit's own.
  dialog,        // The toolkit's dialog with buttons.
  frame,         // To accessibility a plain window: only --dialog-type, --modal and --parent can say that it is more.
  filler,        // A window that accessibility takes for mere filling.
  fileChooser,   // Lists files and folders.
  mainWindow,    // Texts and buttons in a window that is no dialog.
  windowPrompt,  // A main window that keeps its prompt inside, beside an empty one, as browsers do.
  preferences,   // Tabs with settings, which ask nothing.
};

// What the command line of a sample program says. The same for every toolkit; --help lists it.
struct SampleOptions {
  Kind kind = Kind::messageBox;
  std::string title;                 // Of the window. Empty: the program sets none.
  std::string promptTitle;           // Of the prompt inside, for windowPrompt.
  bool isPromptDialog = false;       // That one calls itself a dialog; otherwise an alert.
  std::vector<std::string> texts;    // One a label; in message boxes the first is the question, the others go together.
  std::vector<std::string> buttons;  // In this order in the program; toolkits arrange them as they like.
  int defaultButton = -1;            // Counted from 0; -1: none.
  int disabledButton = -1;           // Likewise: it takes no presses.
  bool isModal = false;
  bool hasDialogType = false;         // Sets the X window type, for windows that do not have it anyway.
  std::optional<std::string> parent;  // The title of another window of this program that it is transient for.
  std::optional<std::string> passwordLabel;
  bool hasSecret = false;  // A field for a secret with no word beside it.
  std::string secretText;  // What stands in the field for a secret, as if typed.
  std::optional<std::string> fieldLabel;
  int textPadding = 0;    // So many bytes of filling come after each of the texts.
  int buttonPadding = 0;  // So many quotation marks come after each label but the first two.
  bool hasToolbar = false;
  bool hasTabs = false;
  int widgets = 0;                         // That many labels besides, all in one container.
  std::vector<std::string> hiddenTexts;    // Not visible.
  std::vector<std::string> hiddenButtons;  // Not visible.
  bool isRestless = false;                 // GTK 3: says another thing every 20 ms, and offers another button.
  std::vector<std::string> zeroSizeTexts;  // Visible, but without any room.
  std::optional<std::pair<int, int>> at;   // Of the window's frame on the screen, in pixels.
  bool isMinimised = false;
  std::optional<std::string> applicationName;

  // The program, and its parent window, run for so long before the prompt comes up.
  std::optional<std::chrono::milliseconds> promptAfter;
  std::optional<std::chrono::milliseconds> closeAfter;
  std::optional<std::chrono::milliseconds> hangAfter;
  bool hangsOnPress = false;
  bool fallsSilentOnPress = false;  // The window goes, the program stays and answers no request any more.
  int ignoredPresses = 0;
  int repetitions = 0;                        // After a press the same prompt comes up again, that often.
  bool hasTwin = false;                       // The program shows the prompt twice at a time.
  bool isTwin = false;                        // It is the second one.
  std::optional<std::pair<int, int>> twinAt;  // Where the second one is; absent: where the first one is.
  std::optional<std::string> successorTitle;
  std::vector<std::string> successorTexts;
  std::vector<std::string> successorButtons;

  // The prompt that comes after a press: itself while there are repetitions, then one that is the same in all but its
  // wording, and the last one.
  [[nodiscard]] SampleOptions successor() const;
  // The second one of two prompts.
  [[nodiscard]] SampleOptions twin() const;
};

// Ends the program with a message (exit code 2) when it does not understand.
[[nodiscard]] SampleOptions parseSampleOptions(int argc, char** argv);
// Ends the program (exit code 2): this toolkit has no such thing.
[[noreturn]] void refuse(const std::string& what);

}  // namespace quillard::samples
