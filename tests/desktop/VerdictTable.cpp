#include "desktop/VerdictTable.h"

#include <ostream>

namespace quillard::test {
namespace {

using Words = std::vector<std::string>;

const Words kZenity{"zenity"};
const Words kGtk3{"gtk3_prompt"};
const Words kGtk4{"gtk4_prompt"};
const Words kQt{"qt_prompt"};
const Words kAll{"gtk3_prompt", "gtk4_prompt", "qt_prompt"};
const Words kAllButGtk4{"gtk3_prompt", "qt_prompt"};
const Words kAllButQt{"gtk3_prompt", "gtk4_prompt"};

// zenity ends with its input; this one stays.
Words zenityWithInput(const std::string& options) { return {"-c", "sleep 60 | zenity " + options}; }

std::ostream& operator<<(std::ostream& stream, const Words& words) {
  for (const auto& word : words) stream << "[" << word << "]";
  return stream;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Prompt& prompt) {
  stream << "\n  title   [" << prompt.title << "]\n  lines   " << prompt.lines << "\n  buttons " << prompt.buttons;
  return stream << "\n  best    [" << prompt.recommended << "]\n  it " << prompt.access << "\n";
}

std::string Case::name() const {
  std::string shortName = program.substr(0, program.find('_'));
  return row.programs.size() > 1 ? row.name + "_" + shortName : row.name;
}

std::ostream& operator<<(std::ostream& stream, const Case& each) {
  return stream << each.program << " " << each.row.arguments;
}

std::vector<Case> casesOf(const std::vector<Row>& rows) {
  std::vector<Case> cases;
  for (const auto& row : rows) {
    for (const auto& program : row.programs) cases.push_back({row, program});
  }
  return cases;
}

Prompt keyringPrompt() {
  const std::string what =
      "An application wants to create a new keyring called “Of a test”. Choose the password you want to use for it.";
  return {.title = "",
          .lines = {"Choose password for new keyring", what, "Password:", "Confirm:"},
          .buttons = {"Cancel", "Continue"},
          .recommended = "",
          .access = kSecret};
}

// clang-format off
// A table, however long: NOLINTNEXTLINE(readability-function-size)
std::vector<Row> verdictTable() {
  return {
    // ---- zenity
    {"ZenityQuestion", kZenity,
     {"--question", "--title=Camera", "--text=Let the example film?", "--ok-label=Allow", "--cancel-label=Don’t Allow"},
     Prompt{.title = "Camera", .lines = {"Let the example film?"}, .buttons = {"Don’t Allow", "Allow"},
            .recommended = "Allow"}},
    {"ZenityEntry", kZenity, {"--entry", "--title=Name", "--text=What is it called?", "--entry-text=Draft"},
     {}, "OK"},
    {"ZenityPassword", kZenity, {"--password", "--title=Sign in"},
     Prompt{.title = "Sign in", .lines = {"Type your password", "Password:"}, .buttons = {"Cancel", "OK"},
            .recommended = "", .access = kSecret}},
    {"ZenityPasswordAndUser", kZenity, {"--password", "--username", "--title=Sign in"},
     Prompt{.title = "Sign in", .lines = {"Type your username and password", "Username:", "Password:"},
            .buttons = {"Cancel", "OK"}, .recommended = "", .access = kSecret}},
    {"ZenityProgress", {"sh"}, zenityWithInput("--progress --title=Copying --text='Half of it' --percentage=50"),
     {}, "OK"},
    {"ZenityProgressThatClosesItself", {"sh"},
     zenityWithInput("--progress --auto-close --title=Copying --text='Half of it' --percentage=50"),
     {}, "OK"},
    {"ZenityProgressThatCannotBeCancelled", {"sh"},
     zenityWithInput("--progress --no-cancel --title=Copying --text='Half of it' --percentage=50"),
     {}, "OK"},
    {"ZenityWarning", kZenity, {"--warning", "--title=Disk", "--text=The disk is almost full."},
     {}, "OK"},
    {"ZenityInformation", kZenity, {"--info", "--title=Done", "--text=All is well."},
     {}, "OK"},
    {"ZenityFileSelection", kZenity, {"--file-selection", "--title=Which file?"},
     {}, "OK"},

    // ---- Message boxes and dialogs of the toolkits
    {"MessageBox", kAll,
     {"--title", "Permission", "--text", "May it go on?", "--text", "It cannot be stopped.", "--button", "Don't Allow",
      "--button", "Allow"},
     Prompt{.title = "Permission", .lines = {"May it go on?", "It cannot be stopped."},
            .buttons = {"Don't Allow", "Allow"}, .recommended = "Allow"}},
    {"Dialog", kAll,
     {"--kind", "dialog", "--title", "Permission", "--text", "May it go on?", "--text", "It cannot be stopped.",
      "--button", "Don't Allow", "--button", "Allow"},
     Prompt{.title = "Permission", .lines = {"May it go on?", "It cannot be stopped."},
            .buttons = {"Don't Allow", "Allow"}, .recommended = "Allow"}},
    {"ModalDialogOfADocument", kAll,
     {"--kind", "dialog", "--modal", "--parent", "Letter", "--title", "Close", "--text", "Save changes to the letter?",
      "--button", "Don't Save", "--button", "Cancel", "--button", "Save"},
     Prompt{.title = "Close", .lines = {"Save changes to the letter?"}, .buttons = {"Don't Save", "Cancel", "Save"},
            .recommended = ""}},
    {"BothApostrophes", kAll,
     {"--kind", "dialog", "--title", "Signs", "--text", "Both are there", "--button", "Don't Allow", "--button",
      "Don’t Allow", "--button", "Allow"},
     Prompt{.title = "Signs", .lines = {"Both are there"}, .buttons = {"Don't Allow", "Don’t Allow", "Allow"},
            .recommended = "Allow"}},
    {"SixButtons", kAll,
     {"--kind", "dialog", "--title", "Many", "--text", "Which?", "--button", "A", "--button", "B", "--button", "C",
      "--button", "D", "--button", "No", "--button", "Yes"},
     Prompt{.title = "Many", .lines = {"Which?"}, .buttons = {"A", "B", "C", "D", "No", "Yes"}, .recommended = "", .access = kNotUnderstood}},
    {"SevenButtons", kAll,
     {"--kind", "dialog", "--title", "Many", "--text", "Which?", "--button", "A", "--button", "B", "--button", "C",
      "--button", "D", "--button", "E", "--button", "No", "--button", "Yes"},
     {}, "Yes"},
    {"DialogWithoutAnySign", kAll,
     {"--kind", "dialog", "--title", "Colours", "--text", "Which one?", "--button", "Blue", "--button", "Green"},
     {}, "Blue"},
    {"LeadsToTheSettings", kAll,
     {"--kind", "dialog", "--title", "Microphone", "--text", "Change that in System Settings.", "--button", "Later",
      "--button", "Open System Settings"},
     Prompt{.title = "Microphone", .lines = {"Change that in System Settings."},
            .buttons = {"Later", "Open System Settings"}, .recommended = "", .access = kSettings}},

    {"AlertWithWordsThatNobodyKnows", kQt,
     {"--title", "Frob", "--text", "The frobnicator has been grokked.", "--button", "Grok", "--button", "Frobnicate"},
     Prompt{.title = "Frob", .lines = {"The frobnicator has been grokked."}, .buttons = {"Grok", "Frobnicate"},
            .recommended = "", .access = kNotUnderstood}},
    {"KnownWayOutBesideWordsThatNobodyKnows", kAll,
     {"--kind", "dialog", "--title", "Frob", "--text", "The frobnicator has been grokked.", "--button", "Deny Access",
      "--button", "Frobnicate"},
     Prompt{.title = "Frob", .lines = {"The frobnicator has been grokked."}, .buttons = {"Deny Access", "Frobnicate"},
            .recommended = "", .access = kNotUnderstood}},
    {"DeletionIsNotRecommended", kAll,
     {"--kind", "dialog", "--title", "Files", "--text", "Delete 3 files for good?", "--button", "No", "--button", "Yes"},
     Prompt{.title = "Files", .lines = {"Delete 3 files for good?"}, .buttons = {"No", "Yes"}, .recommended = ""}},

    // ---- Secrets, whatever the words
    {"SecretWithALabel", kAll,
     {"--kind", "dialog", "--title", "Vault", "--text", "It is locked.", "--password", "Passphrase:", "--secret-text",
      "hunter2", "--button", "Cancel", "--button", "OK"},
     Prompt{.title = "Vault", .lines = {"It is locked.", "Passphrase:", "Password"}, .buttons = {"Cancel", "OK"},
            .recommended = "", .access = kSecret}},
    {"SecretWithoutAWord", kAll,
     {"--kind", "dialog", "--title", "Vault", "--text", "Who is there?", "--secret", "--secret-text", "hunter2",
      "--button", "Cancel", "--button", "OK"},
     Prompt{.title = "Vault", .lines = {"Who is there?", "Password"}, .buttons = {"Cancel", "OK"}, .recommended = "",
            .access = kSecret}},
    {"FieldForText", kAll,
     {"--kind", "dialog", "--title", "Name", "--text", "What is it called?", "--field", "Name:", "--button", "Cancel",
      "--button", "OK"},
     {}, "OK"},

    // ---- Windows that are no prompts, whatever they say
    {"Preferences", kAll,
     {"--kind", "preferences", "--title", "Preferences", "--text", "It wants access to the camera", "--button", "Cancel",
      "--button", "OK"},
     {}, "OK"},
    {"SettingsOfSomething", kAll,
     {"--kind", "main-window", "--title", "Wi-Fi Settings", "--text", "It needs your permission", "--button", "Cancel",
      "--button", "OK"},
     {}, "OK"},
    {"MainWindowWithAToolbar", kAll,
     {"--kind", "main-window", "--toolbar", "--title", "Editor", "--text", "Are you sure?", "--button", "Cancel",
      "--button", "OK"},
     {}, "OK"},
    {"MainWindowWithTabs", kAll,
     {"--kind", "main-window", "--tabs", "--title", "Editor", "--text", "Are you sure?", "--button", "Cancel",
      "--button", "OK"},
     {}, "OK"},
    {"MainWindowWithoutAPhrase", kAll,
     {"--kind", "main-window", "--title", "Editor", "--text", "A poem", "--button", "Cancel", "--button", "OK"},
     {}, "OK"},
    {"MainWindowWithMuchInIt", kAll,
     {"--kind", "main-window", "--title", "List", "--text", "Delete it?", "--text", "It is old.", "--text",
      "Nobody wants it.", "--widgets", "100", "--button", "Cancel", "--button", "OK"},
     {}, "OK"},
    {"MainWindowWithMoreInItThanIsRead", kAll,
     {"--kind", "main-window", "--title", "List", "--text", "Delete it?", "--text", "It is old.", "--text",
      "Nobody wants it.", "--widgets", "300", "--button", "Cancel", "--button", "OK"},
     {}, "OK"},

    // ---- Windows that do not call themselves dialogs, and are prompts
    {"MainWindowThatAsks", kAll,
     {"--kind", "main-window", "--title", "Helper", "--text", "It would like to access the camera.", "--button",
      "Don't Allow", "--button", "OK"},
     Prompt{.title = "Helper", .lines = {"It would like to access the camera."}, .buttons = {"Don't Allow", "OK"},
            .recommended = "OK"}},
    {"FrameOfDialogType", kAll,
     {"--kind", "frame", "--dialog-type", "--title", "Plain", "--text", "Go on?", "--button", "No", "--button", "Yes"},
     Prompt{.title = "Plain", .lines = {"Go on?"}, .buttons = {"No", "Yes"}, .recommended = "Yes"}},
    {"FrameThatIsModal", kAll,
     {"--kind", "frame", "--modal", "--title", "Plain", "--text", "Go on?", "--button", "No", "--button", "Yes"},
     Prompt{.title = "Plain", .lines = {"Go on?"}, .buttons = {"No", "Yes"}, .recommended = "Yes"}},
    {"FrameOfAnotherWindow", kAllButQt,  // Qt says of dialogs alone whose they are.
     {"--kind", "frame", "--parent", "Document", "--title", "Plain", "--text", "Go on?", "--button", "No", "--button",
      "Yes"},
     Prompt{.title = "Plain", .lines = {"Go on?"}, .buttons = {"No", "Yes"}, .recommended = "Yes"}},
    {"FillerAtTheTop", kAllButGtk4,
     {"--kind", "filler", "--dialog-type", "--title", "Odd", "--text", "Go on?", "--button", "No", "--button", "Yes"},
     Prompt{.title = "Odd", .lines = {"Go on?"}, .buttons = {"No", "Yes"}, .recommended = "Yes"}},
    {"MessageBoxWithoutATitle", kGtk3, {"--text", "Go on?", "--button", "No", "--button", "Yes"},
     Prompt{.title = "", .lines = {"Go on?"}, .buttons = {"No", "Yes"}, .recommended = "Yes"}},

    // ---- File choosers: dialogs, and no prompts
    {"FileChooserForOpening", kAll,
     {"--kind", "file-chooser", "--title", "Which file?", "--button", "Cancel", "--button", "Open"},
     {}, "Open"},
    {"FileChooserForSaving", kGtk3,
     {"--kind", "file-chooser", "--title", "Which file?", "--button", "Cancel", "--button", "Save"},
     {}, "Save"},
    {"FileChooserForSavingWithHeadings", kGtk4,
     {"--kind", "file-chooser", "--title", "Which file?", "--button", "Cancel", "--button", "Save"},
     {}, "Save"},
    {"FileChooserForSavingWithManyButtons", kQt,
     {"--kind", "file-chooser", "--title", "Which file?", "--button", "Cancel", "--button", "Save"},
     {}, "Save"},

    // ---- Windows that keep their prompt inside
    {"PromptInsideAWindow", kAll,
     {"--kind", "window-prompt", "--toolbar", "--title", "Some page", "--prompt-title", "Camera?", "--text",
      "It wants the camera.", "--button", "Don't Allow", "--button", "Allow"},
     Prompt{.title = "Camera?", .lines = {"It wants the camera."}, .buttons = {"Don't Allow", "Allow"},
            .recommended = "Allow"}},
    {"DialogInsideAWindow", kAll,
     {"--kind", "window-prompt", "--prompt-is-dialog", "--title", "Some page", "--prompt-title", "Camera?", "--text",
      "It wants the camera.", "--button", "Don't Allow", "--button", "Allow"},
     Prompt{.title = "Camera?", .lines = {"It wants the camera."}, .buttons = {"Don't Allow", "Allow"},
            .recommended = "Allow"}},

    // ---- What is not visible does not count
    {"HiddenParts", kAll,
     {"--kind", "dialog", "--title", "Bare", "--text", "Go on?", "--hidden-text", "Password", "--hidden-button", "Never",
      "--zero-size-text", "Delete", "--button", "No", "--button", "Yes"},
     Prompt{.title = "Bare", .lines = {"Go on?"}, .buttons = {"No", "Yes"}, .recommended = "Yes"}},
  };
}
// clang-format on

}  // namespace quillard::test
