#include "golden/SampleWindows.h"

#include <array>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/desktop/Accessibility.h"

namespace quillard::golden {
namespace {

namespace ax = platform::ax;
using platform::AXValue;
using platform::simulated::ElementSpec;

constexpr double kRow = 30;

ElementSpec partOf(const std::string& part, double y) {
  const Rect place{20, y, 200, 24};
  if (part == "secret") {
    return {
        .role = std::string(ax::kTextFieldRole), .subrole = std::string(ax::kSecureTextFieldSubrole), .frame = place};
  }
  if (part == "document") {
    return {.role = std::string(ax::kStaticTextRole),
            .subrole = std::string(ax::kTextAreaSubrole),
            .value = AXValue{std::string("Much text.")},
            .frame = place};
  }
  if (part == "chooser") return {.role = std::string(ax::kBrowserRole), .frame = place};
  return {.role = part, .title = "", .frame = place};
}

ElementSpec buttonOf(const std::string& label, double x, double y) {
  const bool isEnabled = !label.starts_with('-');
  return {.role = std::string(ax::kButtonRole),
          .title = isEnabled ? label : label.substr(1),
          .frame = Rect{x, y, 80, 24},
          .attributes = {{std::string(ax::kEnabled), AXValue{isEnabled}}},
          .actions = {std::string(ax::kPressAction)}};
}

const std::vector<std::string> kTabs{"AXTabGroup", "AXCheckBox", "AXCheckBox", "AXComboBox"};
const std::vector<std::string> kTwoFields{"AXTextField", "AXTextField"};

}  // namespace

void openSampleWindow(const SampleWindow& sample, platform::simulated::SimulatedWorld& world) {
  ElementSpec window{.role = std::string(ax::kWindowRole), .title = sample.title, .frame = Rect{100, 100, 480, 360}};
  window.subrole =
      sample.build == Build::frame && !sample.isModal ? "AXStandardWindow" : std::string(ax::kDialogSubrole);
  window.modal = sample.isModal;
  if (sample.build == Build::alert) {
    window.attributes[std::string(ax::kRoleDescription)] = AXValue{std::string(ax::kAlertDescription)};
  }
  double y = 120;
  for (const auto& line : sample.lines) {
    window.children.push_back(
        {.role = std::string(ax::kStaticTextRole), .value = AXValue{line}, .frame = Rect{20, y, 400, 20}});
    y += kRow;
  }
  for (const auto& part : sample.parts) window.children.push_back(partOf(part, y += kRow));
  double x = 20;
  for (const auto& label : sample.buttons) window.children.push_back(buttonOf(label, x += 90, 420));
  const auto program = world.desktop().launch({.name = sample.application, .active = true});
  (void)world.desktop().addWindow(program, window);
}

namespace {

// The buttons of each prompt that destroy something, end what may hold work, grant for ever, trust an unknown party, or
// do what is not known. Marked by the authors of the samples, not by the words that the detector goes by.
// clang-format off
const std::map<std::string_view, std::vector<std::string>> kHazards{
    {"save-several", {"Close without Saving"}},
    {"quit-with-images", {"Discard Changes"}},
    {"close-document-qt", {"Discard"}},
    {"reload-from-disk", {"Reload", "Overwrite"}},
    {"recover-listed-documents", {"Discard"}},
    {"recover-documents", {"Discard"}},
    {"swap-file", {"Edit anyway"}},
    {"stop-capture", {"Quit without Saving"}},
    {"empty-trash", {"Empty Trash"}},
    {"move-to-trash", {"Move to Trash"}},
    {"replace-many", {"Replace All", "Replace"}},
    {"overwrite-or-rename", {"Overwrite"}},
    {"target-exists", {"OK"}},
    {"delete-qt", {"Yes"}},
    {"format-disk", {"Format"}},
    {"apply-partitions", {"Apply"}},
    {"remove-with-files", {"Remove"}},
    {"remove-account", {"Remove"}},
    {"ssh-host-key", {"Yes"}},
    {"tls-certificate", {"Accept Temporarily", "Accept Permanently"}},
    {"untrusted-launcher", {"Launch Anyway", "Mark as Trusted"}},
    {"run-or-show", {"Run in Terminal", "Run"}},
    {"buddy-request", {"Authorize"}},
    {"incoming-desktop", {"Allow"}},
    {"passkey", {"Confirm"}},
    {"passkey-plain", {"Matches"}},
    {"permission-bubble", {"Allow"}},
    {"several-downloads", {"Allow"}},
    {"default-browser", {}},
    {"close-tabs", {"Close tabs"}},
    {"licence", {"Accept"}},
    {"share-screen", {"Share"}},
    {"wallpaper", {}},
    {"tls-certificate-wx", {"OK"}},
    {"entries-for-a-browser", {"Allow Selected"}},
    {"share-a-screen-of", {"Share"}},
    {"unsafe-paste", {"Paste"}},
    {"quit-with-transfers", {"Quit"}},
    {"keep-display", {}},
    {"log-out", {"Switch User", "Log Out"}},
    {"updates", {}},
    {"new-version", {}},
    {"restart-now", {"Restart Now"}},
    {"crash-report", {}},
    {"not-responding", {"Force Quit"}},
    {"retry", {}},
    {"unmount-busy", {"Unmount Anyway"}},
    {"unknown-words", {"Frobnicate"}},
    {"alert-unknown-words", {"Frobnicate", "Grok"}},
    {"policy-agent-qt", {"OK"}},
    {"wifi-password", {}},
    {"wifi-password-shown", {}},
    {"mount-share", {}},
    {"archive-password", {}},
    {"document-password", {}},
    {"new-keyring", {}},
    {"ssh-passphrase-frame", {"OK"}},
    {"pairing-pin", {"OK"}},
    {"mail-password", {}},
    {"becoming-root", {"OK"}},
    {"save-password", {"Save"}},
    {"save-login", {"Save"}},
};
// clang-format on

// Absent: a prompt without a mark. In a window that is no prompt, nothing may be recommended.
std::optional<std::vector<std::string>> hazardsOf(const SampleWindow& sample) {
  if (sample.kind == Kind::prompt || sample.kind == Kind::secret) {
    const auto marked = kHazards.find(sample.name);
    return marked == kHazards.end() ? std::nullopt : std::optional(marked->second);
  }
  std::vector<std::string> all;
  for (const auto& label : sample.buttons) {
    const std::string shown = label.starts_with('-') ? label.substr(1) : label;
    if (!shown.empty()) all.push_back(shown);
  }
  return all;
}

}  // namespace

std::vector<JudgedWindow> judgedSamples() {
  constexpr std::size_t kHeldBackEvery = 3;
  std::vector<JudgedWindow> judged;
  for (const auto& sample : sampleWindows()) {
    const bool isHeldBack = judged.size() % kHeldBackEvery == kHeldBackEvery - 1;
    judged.push_back({.name = sample.name,
                      .kind = sample.kind,
                      .isHeldBack = isHeldBack,
                      .knownMistake = std::nullopt,
                      .hazards = hazardsOf(sample)});
  }
  return judged;
}

// clang-format off
// A table, however long: NOLINTNEXTLINE(readability-function-size)
const std::vector<SampleWindow>& sampleWindows() {
  using enum Kind;
  using enum Build;
  static const std::vector<SampleWindow> windows{
    // ---- What was made is about to be lost
    {"save-several", prompt, alert, "gedit", "Question",
     {"There are 2 documents with unsaved changes. Save changes before closing?", "Select the documents you want to save:",
      "If you don’t save, all your changes will be permanently lost."},
     {"Close without Saving", "Cancel", "Save"}, {"AXTable"}},
    {"quit-with-images", prompt, dialog, "gimp", "Quit GIMP",
     {"There is one image with unsaved changes:", "If you quit GIMP now, these changes will be lost."},
     {"Cancel", "Discard Changes"}, {"AXList"}},
    {"close-document-qt", prompt, alert, "kate", "Close Document — Kate",
     {"The document \"Untitled\" has been modified.\nDo you want to save your changes or discard them?"},
     {"Save", "Discard", "Cancel"}},
    {"reload-from-disk", prompt, dialog, "geany", "Question", {"The file 'a.c' on the disk is more recent than the current buffer."},
     {"Reload", "Overwrite", "Cancel"}},
    {"recover-listed-documents", prompt, dialog, "soffice", "LibreOffice 7.4 Document Recovery",
     {"Press 'Start' to start the recovery process of the documents listed below."}, {"Discard", "Start"}, {"AXOutline"}},
    {"recover-documents", prompt, dialog, "soffice", "LibreOffice 7.4 Document Recovery",
     {"LibreOffice will attempt to recover the state of the files that you were working on before it crashed.",
      "Click “Start” to begin the recovery, or “Discard” to cancel it."},
     {"Discard", "Start"}},
    {"swap-file", prompt, alert, "gvim", "VIM - ATTENTION", {"Swap file \".a.swp\" already exists!"},
     {"Open Read-Only", "Edit anyway", "Recover", "Quit", "Abort"}},
    {"stop-capture", prompt, alert, "wireshark", "Unsaved packets…", {"Do you want to save the captured packets before quitting?"},
     {"Save before Quit", "Quit without Saving", "Cancel"}},

    // ---- Something goes for good, or is written over
    {"empty-trash", prompt, alert, "nautilus", "", {"Empty all items from Trash?", "All items in the Trash will be permanently deleted."},
     {"Cancel", "Empty Trash"}},
    {"move-to-trash", prompt, alert, "caja", "Question", {"Are you sure you want to move “a.txt” to the trash?"}, {"Cancel", "Move to Trash"}},
    {"replace-many", prompt, dialog, "thunar", "Confirm to replace files",
     {"This folder already contains a file \"a.txt\".", "Replace the existing file", "Size: 3 bytes", "with the following file?", "Size: 4 bytes"},
     {"Cancel", "Skip All", "Skip", "Rename All", "Rename", "Replace All", "Replace"}},
    {"overwrite-or-rename", prompt, dialog, "dolphin", "File Already Exists — Dolphin",
     {"This action would overwrite the destination.", "A file named a.txt already exists."},
     {"Suggest New Name", "Rename", "Overwrite", "Cancel"}, {"AXTextField"}},
    {"target-exists", prompt, dialog, "filezilla", "Target file already exists",
     {"The target file already exists.", "Please choose an action.", "Source file:", "Target file:", "Action:"}, {"OK", "Cancel"},
     {"AXRadioButton", "AXRadioButton", "AXRadioButton", "AXRadioButton", "AXCheckBox", "AXCheckBox"}},
    {"delete-qt", prompt, alert, "pcmanfm-qt", "Confirm", {"Do you want to permanently delete the 2 selected files?"}, {"Yes", "No"}},
    {"format-disk", prompt, alert, "gnome-disks", "", {"Are you sure you want to format the volume?", "All data on the volume will be lost"},
     {"Cancel", "Format"}},
    {"apply-partitions", prompt, alert, "gparted", "", {"Are you sure you want to apply the pending operations to /dev/sda?",
      "Editing partitions has the potential to cause LOSS of DATA."}, {"Cancel", "Apply"}},
    {"remove-with-files", prompt, dialog, "qbittorrent", "Remove torrent(s)", {"Are you sure you want to remove 'a' from the transfer list?"},
     {"Remove", "Cancel"}, {"AXCheckBox"}},
    {"remove-account", prompt, alert, "evolution", "", {"Remove account “Work”?", "If you proceed, the account information will be deleted permanently."},
     {"Don’t Remove", "Remove"}},

    // ---- Something unknown wants to come in, or to be trusted
    {"ssh-host-key", prompt, dialog, "remmina", "SSH", {"The server is unknown. The public key fingerprint is:", "SHA256:abc", "Do you trust the new public key?"},
     {"No", "Yes"}},
    {"tls-certificate", prompt, dialog, "evolution", "Certificate trust",
     {"SSL/TLS certificate for “mail.example” is not trusted. Do you want to accept it?"},
     {"Reject", "Accept Temporarily", "Accept Permanently", "View Certificate"}},
    {"untrusted-launcher", prompt, alert, "caja", "", {"Untrusted application launcher", "The application launcher “a.desktop” has not been marked as trusted."},
     {"Launch Anyway", "Mark as Trusted", "Cancel"}},
    {"run-or-show", prompt, alert, "nautilus", "", {"Do you want to run “a.sh”, or display its contents?", "“a.sh” is an executable text file."},
     {"Run in Terminal", "Display", "Cancel", "Run"}},
    {"buddy-request", prompt, dialog, "pidgin", "Authorize buddy?", {"jo@example wants to add you to his or her buddy list."}, {"Deny", "Authorize"}, {}, false},
    {"incoming-desktop", prompt, dialog, "vino-server", "", {"A user on the computer “box” is trying to remotely view or control your desktop."},
     {"Refuse", "Allow"}, {"AXImage"}, false},
    {"passkey", prompt, dialog, "blueman-applet", "Bluetooth Authentication", {"Pairing request for: Phone", "Confirm value for authentication: 123456"},
     {"Confirm", "Deny"}, {}, false},
    {"passkey-plain", prompt, dialog, "bluetooth-sendto", "Bluetooth", {"Does the PIN match the one on “Phone”? 123456"}, {"Does not match", "Cancel", "Matches"}},
    {"permission-bubble", prompt, alert, "chromium", "", {"example.org wants to", "Know your location"}, {"Block", "Allow", "Close"}, {}, false},
    {"several-downloads", prompt, alert, "chromium", "Download multiple files", {"example.org wants to", "Download multiple files"}, {"Block", "Allow"}, {}, false},
    {"default-browser", prompt, dialog, "firefox-esr", "Default Browser", {"Firefox is not currently set as your default browser. Would you like to make it your default browser?"},
     {"Not now", "Use Firefox as my default browser"}, {"AXCheckBox"}},
    {"close-tabs", prompt, dialog, "firefox-esr", "Close 3 tabs?", {"You are about to close 3 tabs."}, {"Close tabs", "Cancel"}, {"AXCheckBox"}},
    {"licence", prompt, dialog, "installer", "License Agreement", {"Please read the following license agreement."}, {"Decline", "Accept"}},
    {"share-screen", prompt, dialog, "xdg-desktop-portal-gtk", "Remote Desktop", {"Allow “Viewer” to see the screen and use the input devices?"}, {"Cancel", "Share"}},
    {"wallpaper", prompt, dialog, "xdg-desktop-portal-gtk", "Set Background", {"“Photos” wants to change the background."}, {"Cancel", "Set"}, {"AXImage"}},

    {"tls-certificate-wx", prompt, dialog, "filezilla", "Unknown certificate",
     {"The server's certificate is unknown. Please carefully examine the certificate to make sure the server can be trusted.",
      "Certificate in chain:", "Fingerprint (SHA-256):", "Trust the server certificate and carry on connecting?"},
     {"OK", "Cancel"}, {"AXComboBox", "AXCheckBox", "AXCheckBox"}},
    {"entries-for-a-browser", prompt, dialog, "keepassxc", "KeePassXC - Browser Access Request", {"example.org is requesting access to the following entries:"},
     {"Allow Selected", "Deny All"}, {"AXTable", "AXCheckBox"}},
    {"share-a-screen-of", prompt, dialog, "xdg-desktop-portal-gtk", "Share Screen", {"“Meet” wants to share your screen.", "Select monitor to share."},
     {"Cancel", "Share"}, {"AXList"}},
    {"unsafe-paste", prompt, dialog, "xfce4-terminal", "Warning: Unsafe Paste", {"Pasting this text to the terminal may be dangerous as it looks like some commands may be executed."},
     {"Cancel", "Paste"}, {"AXTextField"}},

    // ---- Something ends, begins or is new
    {"quit-with-transfers", prompt, dialog, "hexchat", "Quit HexChat?", {"Are you sure you want to quit?", "You are connected to 2 IRC networks."},
     {"Cancel", "Minimize to Tray", "Quit"}, {"AXCheckBox"}},
    {"keep-display", prompt, alert, "xfce4-display-settings", "Confirmation",
     {"Would you like to keep this configuration?", "Your previous configuration will be restored in 10 seconds if you do not reply."},
     {"Restore the previous configuration", "Keep this configuration"}},
    {"log-out", prompt, alert, "mate-session-save", "", {"Log out of this system now?", "You will be automatically logged out in 60 seconds."}, {"Switch User", "Cancel", "Log Out"}},
    {"updates", prompt, dialog, "update-notifier", "Software Updater", {"Software updates are available for this computer.", "Do you want to install them now?"},
     {"Settings…", "Remind Me Later", "Install Now"}},
    {"new-version", prompt, dialog, "keepassxc", "Software Update", {"A new version of KeePassXC is available!", "Would you like to download it now?"},
     {"Skip This Version", "Remind Me Later", "Download"}},
    {"restart-now", prompt, dialog, "gnome-software", "", {"Restart to apply the changes."}, {"Later", "Restart Now"}},
    {"crash-report", prompt, dialog, "apport-gtk", "", {"Sorry, gedit closed unexpectedly.", "Send a report to help fix this problem?"}, {"Don't Send", "Send"}, {"AXCheckBox"}},
    {"not-responding", prompt, dialog, "mutter", "", {"“Writer” is not responding.", "You may choose to wait a short while for it to continue or force it to quit entirely."},
     {"Force Quit", "Wait"}, {}, false},
    {"retry", prompt, alert, "brasero", "", {"The disc is not writable.", "Insert another disc."}, {"Cancel", "Eject", "Retry"}},
    {"unmount-busy", prompt, alert, "nautilus", "", {"Volume is busy", "One or more applications are keeping the volume busy."}, {"Unmount Anyway", "Cancel"}, {"AXList"}},
    {"unknown-words", prompt, dialog, "frob", "Frob", {"The frobnicator has been grokked."}, {"Frobnicate", "Cancel"}},
    {"alert-unknown-words", prompt, alert, "frob", "Frob", {"The frobnicator has been grokked."}, {"Frobnicate", "Grok"}},

    // ---- Secrets
    {"policy-agent-qt", secret, dialog, "lxqt-policykit-agent", "Authentication Required", {"Authentication is required to install software", "Identity:", "Password:"},
     {"OK", "Cancel"}, {"AXComboBox", "secret"}},
    {"wifi-password", secret, dialog, "nm-applet", "Wi-Fi Network Authentication Required",
     {"Authentication required by Wi-Fi network", "Passwords or encryption keys are required to access the Wi-Fi network “home”.", "Password:"},
     {"Cancel", "Connect"}, {"secret", "AXCheckBox"}},
    {"wifi-password-shown", secret, dialog, "nm-applet", "Wi-Fi Network Authentication Required",
     {"Authentication required by Wi-Fi network", "Password:"}, {"Cancel", "Connect"}, {"AXTextField", "AXCheckBox"}},
    {"mount-share", secret, dialog, "nautilus", "", {"Password required for share docs on box", "User", "Domain", "Password"}, {"Cancel", "Connect"},
     {"AXRadioButton", "AXRadioButton", "AXTextField", "AXTextField", "secret", "AXRadioButton", "AXRadioButton", "AXRadioButton"}},
    {"archive-password", secret, dialog, "file-roller", "", {"Password required for “a.zip”", "Password:"}, {"Cancel", "OK"}, {"secret"}},
    {"document-password", secret, dialog, "evince", "Enter password", {"The document “a.pdf” is locked and requires a password before it can be opened.", "Password"},
     {"Cancel", "Unlock Document"}, {"secret", "AXRadioButton", "AXRadioButton"}},
    {"new-keyring", secret, dialog, "gcr-prompter", "New Keyring Password", {"Choose password for new keyring", "Password:", "Confirm:"}, {"Cancel", "Continue"}, {"secret", "secret"}, false},
    {"ssh-passphrase-frame", secret, frame, "ssh-askpass", "SSH", {"Enter passphrase for /home/jo/.ssh/id_ed25519:"}, {"OK", "Cancel"}, {"secret"}, false},
    {"pairing-pin", secret, dialog, "blueman-applet", "Bluetooth Authentication", {"Pairing request for: Keyboard", "Enter PIN code for authentication:"}, {"Cancel", "OK"}, {"AXTextField"}, false},
    {"mail-password", secret, dialog, "thunderbird", "Enter your password for jo@example.org", {"Enter your password for jo@example.org on mail.example.org:"},
     {"Cancel", "OK"}, {"secret", "AXCheckBox"}},
    {"becoming-root", secret, dialog, "lxqt-sudo", "LXQt sudo", {"LXQt sudo needs your password to run:", "synaptic"}, {"OK", "Cancel"}, {"secret"}},

    {"save-password", secret, dialog, "chromium", "Save password?", {"Save password?", "Username", "Password"}, {"Never", "Save", "Close"}, {"AXComboBox", "secret"}, false},
    {"save-login", secret, alert, "firefox-esr", "", {"Save password for example.org?"}, {"Don’t Save", "Save"}, {"AXTextField", "secret", "AXCheckBox"}, false},

    // ---- Information: nothing to decide
    {"warning-ok", information, alert, "xfburn", "Warning", {"The disc is full."}, {"OK"}},
    {"error-close", information, alert, "ristretto", "Error", {"The file could not be deleted permanently."}, {"Close"}},
    {"error-help", information, alert, "soffice", "LibreOffice", {"General input/output error."}, {"Help", "OK"}},
    {"error-details", information, dialog, "krusader", "Error", {"The password is wrong."}, {"Details >>", "OK"}},
    {"done-open-folder", information, alert, "file-roller", "", {"Extraction completed successfully"}, {"Close"}},
    {"welcome", information, dialog, "audacity", "Welcome to Audacity!", {"How to get help", "These are our support methods:"}, {"OK"}, {"AXCheckBox"}, false},
    {"tip-of-the-day", information, dialog, "soffice", "Tip of the Day: 3/200", {"Did you know?", "You can delete a row with Ctrl+-."}, {"Next Tip", "OK"}, {"AXCheckBox"}, false},
    {"infobar", information, alert, "chromium", "Infobar", {"You are using an unsupported command-line flag."}, {"Close"}, {}, false},

    {"text-to-read", information, dialog, "zenity", "Text View", {"hello"}, {"Cancel", "OK"}, {"document"}, false},

    // ---- Forms and tools
    {"about-gtk", form, dialog, "ristretto", "About Ristretto", {"Ristretto", "0.12", "An image viewer", "This program comes with absolutely no warranty."}, {"Close"}, {"AXCheckBox", "AXCheckBox", "AXLink"}},
    {"about-qt", form, dialog, "kate", "About Kate — Kate", {"Kate", "Version 22.12", "License: LGPL"}, {"Close"}, {"AXTabGroup"}},
    {"about-buttons", form, dialog, "soffice", "About LibreOffice", {"LibreOffice", "Version: 7.4"}, {"Release Notes", "Website", "Credits", "Close"}, {"AXLink"}},
    {"rename", form, dialog, "thunar", "Rename “a.txt”", {"Enter the new name:"}, {"Cancel", "Rename"}, {"AXTextField"}},
    {"new-folder", form, dialog, "caja", "Create New Folder", {"Enter the new name:"}, {"Cancel", "Create"}, {"AXTextField"}},
    {"goto-line", form, dialog, "mousepad", "Go To", {"Line number:"}, {"Cancel", "Jump to"}, {"AXIncrementor"}},
    {"find-gtk", form, dialog, "geany", "Find", {"Search for:"}, {"Close", "Previous", "Next", "Find"}, {"AXComboBox", "AXCheckBox", "AXCheckBox"}, false},
    {"replace-qt", form, dialog, "featherpad", "Replace", {"Find:", "Replace with:"}, {"Replace", "Replace All", "Cancel"}, kTwoFields, false},
    {"open-file", form, dialog, "gedit", "Open Files", {"Name", "Size", "Modified"}, {"Cancel", "Open"}, {"chooser", "AXTable"}},
    {"save-file", form, dialog, "gedit", "Save As", {"Name:", "Save in folder:"}, {"Cancel", "Save"}, {"AXTextField", "chooser"}},
    {"save-file-qt", form, dialog, "kate", "Save File — Kate", {"Name:", "Filter:"}, {"Save", "Cancel"}, {"AXTextField", "AXComboBox", "AXOutline", "AXToolbar"}},
    {"print", form, dialog, "evince", "Print", {"Range", "Copies"}, {"Preview", "Cancel", "Print"}, {"AXTabGroup", "AXTable", "AXRadioButton", "AXRadioButton"}},
    {"colour", form, dialog, "gcolor3", "Pick a Color", {"Custom"}, {"Cancel", "Select"}, {"chooser"}},
    {"open-with", form, dialog, "thunar", "Open With", {"Open a.txt and other files of type \"plain text\" with:"}, {"Cancel", "Open"}, {"AXOutline"}},
    {"portal-open-file", form, dialog, "xdg-desktop-portal-gtk", "Open", {"Name", "Size"}, {"Cancel", "Open"}, {"chooser"}},
    {"portal-app-chooser", form, dialog, "xdg-desktop-portal-gtk", "Open With", {"Choose an application to open the file “a.txt”."}, {"Cancel", "Open"}, {"AXList"}},
    {"portal-print", form, dialog, "xdg-desktop-portal-gtk", "Print", {"Range"}, {"Cancel", "Print"}, {"AXTabGroup"}},
    {"copying", form, dialog, "thunar", "File Operation Progress", {"Copying 3 files", "34 MB of 55 MB (2 seconds remaining)"}, {"Pause", "Cancel"}, {"AXProgressIndicator"}, false},
    {"copying-qt", form, dialog, "pcmanfm-qt", "Copy Files", {"Copying the following files to destination folder:"}, {"Cancel"}, {"AXProgressIndicator"}, false},
    {"installing", form, dialog, "synaptic", "Applying Changes", {"Applying changes", "Unpacking gedit"}, {"Cancel", "-Close"}, {"AXProgressIndicator"}},
    {"add-account", form, dialog, "claws-mail", "Preferences for new account", {"Name of account", "Full name", "Server", "User ID", "Password"}, {"Cancel", "OK", "Apply"},
     {"AXTextField", "AXTextField", "AXTextField", "AXTextField", "secret"}},
    {"change-password", form, dialog, "seahorse", "Change Password", {"Current password:", "New password:", "Confirm:"}, {"Cancel", "Continue"}, {"secret", "secret", "secret"}},
    {"connect-server", form, dialog, "pcmanfm", "Connect to remote folder or web disk", {"Type:", "Host:", "Port:", "Login as:"}, {"Cancel", "Connect"}, {"AXComboBox", "AXTextField", "AXIncrementor", "AXTextField"}},
    {"run-program", form, dialog, "pcmanfm", "Run", {"Enter the command you want to execute:"}, {"Cancel", "OK"}, {"AXTextField"}},
    {"screenshot", form, dialog, "xfce4-screenshooter", "Screenshot", {"Region to capture", "Delay before capturing"}, {"Help", "Cancel", "OK"}, {"AXRadioButton", "AXRadioButton", "AXRadioButton", "AXCheckBox", "AXIncrementor"}, false},
    {"scale-image", form, dialog, "gimp", "Scale Image", {"Image Size", "Width:", "Height:", "Interpolation:"}, {"Help", "Reset", "Cancel", "Scale"}, {"AXIncrementor", "AXIncrementor", "AXComboBox"}, false},
    {"encoding", form, dialog, "geany", "Select Encoding", {"Which encoding is the file in?"}, {"Cancel", "OK"}, {"AXList"}},
    {"assistant", form, dialog, "evolution", "Welcome", {"Welcome to Evolution.", "The next few screens will allow Evolution to connect to your accounts."}, {"Cancel", "-Back", "Next"}, {}, false},
    {"statistics", form, dialog, "transmission-gtk", "Statistics", {"Current Session", "Uploaded:", "Downloaded:"}, {"Reset", "Close"}, {}, false},
    {"word-count", form, dialog, "soffice", "Word Count", {"Words", "12"}, {"Help", "Close"}, {}, false},
    {"date", form, dialog, "zenity", "Calendar selection", {"Select a date from below."}, {"Cancel", "OK"}, {"AXTable", "AXIncrementor"}, false},
    {"scale", form, dialog, "zenity", "Adjust the scale value", {"Adjust the scale value"}, {"Cancel", "OK"}, {"AXSlider"}, false},
    {"export-options", form, dialog, "audacity", "Export Audio", {"Which format do you want to use?", "Quality"}, {"Cancel", "OK"}, {"AXComboBox", "AXComboBox"}},
    {"web-prompt", form, alert, "chromium", "example.org says", {"What is your name?"}, {"Cancel", "OK"}, {"AXTextField"}, false},

    // ---- Main windows and settings
    {"settings-tabs", main, dialog, "xfce4-appearance-settings", "Appearance", {"Style", "Icons", "Fonts"}, {"Help", "Close"}, kTabs, false},
    {"settings-ok-cancel", main, dialog, "qpdfview", "Settings", {"Behavior", "Track recently used:"}, {"OK", "Cancel"}, {"AXTabGroup", "AXCheckBox"}},
    {"settings-qt", main, dialog, "kate", "Configure — Kate", {"Appearance", "Fonts & Colors"}, {"Help", "Defaults", "OK", "Apply", "Cancel"}, {"AXList", "AXCheckBox"}},
    {"properties", main, dialog, "thunar", "a.txt - Properties", {"Name:", "Kind:", "Permissions"}, {"Help", "Close"}, {"AXTabGroup", "AXTextField"}, false},
    {"download-manager", main, frame, "uget-gtk", "uGet", {"Delete the selected download"}, {"Add", "Delete", "Start", "Cancel"}, {"AXToolbar", "AXTable", "AXMenuBar"}, false},
    {"password-manager", main, frame, "keepassxc", "a.kdbx - KeePassXC", {"Unlock KeePassXC Database", "Password:"}, {"OK", "Cancel"}, {"AXMenuBar", "AXToolbar", "secret"}, false},
    {"updater-window", main, frame, "gnome-software", "Software", {"Updates", "3 updates available"}, {"Restart & Update", "Download"}, {"AXToolbar", "AXList"}, false},
    {"calculator", main, frame, "galculator", "galculator", {"0"}, {"1", "2", "3", "4", "5", "6", "7", "8", "9", "0", "+", "-", "=", "Clear"}, {"AXMenuBar"}, false},
    {"chat", main, frame, "pidgin", "Buddy List", {"Would you like to add a buddy?"}, {"Add", "Not Now"}, {"AXMenuBar", "AXOutline"}, false},
    {"timer", main, frame, "kteatime", "Timer", {"Start the timer."}, {"Start", "Stop"}, {}, false},
  };
  return windows;
}
// clang-format on

}  // namespace quillard::golden
