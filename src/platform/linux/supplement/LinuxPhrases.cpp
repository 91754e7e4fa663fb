#include "platform/linux/supplement/LinuxPhrases.h"

#include <array>

namespace quillard::linuxphrases {

using platform::SupplementGroup;
using platform::SupplementList;

namespace {

// clang-format off
constexpr std::array kPromptServices{
    SupplementGroup{"An agent of the policy service asks for a password or a person to allow something.",
        "polkit|policykit|policy-agent|lxpolkit"},
    SupplementGroup{"Asks for the secret of a keyring, a key or a certificate.",
        "gcr-prompter|access prompt|pinentry|keyring|kwallet"},
    SupplementGroup{"Asks on behalf of a connection to another computer.",
        "askpass"},
    SupplementGroup{"Asks on behalf of a program that is kept apart from the rest.",
        "xdg-desktop-por|desktop portal"},
    SupplementGroup{"Asks whether a device may be paired or used.",
        "bluetooth-agent|bluetooth-wizard|bluedevil|blueman-applet|blueman-agent|bolt-agent|usbguard"},
    SupplementGroup{"Asks for the password of a network.",
        "nm-applet|network-manager-applet|networkmanager applet|network agent|iwgtk"},
    SupplementGroup{"Asks for a password to mount or unlock a disk.",
        "gvfs|udiskie"},
    SupplementGroup{"Asks for a password to become another user.",
        "gksu|kdesu|lxqt-sudo|lxsu|gnomesu"},
    SupplementGroup{"Asks before the session ends.",
        "gnome-session-quit|session-logout|logout-dialog"}};

constexpr std::array kPhrases{
    SupplementGroup{"Asks to allow what a program or page wants.",
        "wants to|would like to|requests access|requests permission|has requested|asks for permission|"
        "access to your|allow access|allow this|be allowed to|wants permission|is trying to|is attempting to|"
        "share your|authentication is needed|authentication is required|authentication required|"
        "authorization is required|requires authentication"},
    SupplementGroup{"Asks whether something that was made is to be kept.",
        "save the changes|save your changes|changes will be lost|have not been saved|has not been saved|"
        "not been saved|may not be saved|has been modified|was modified|have been modified|want to save|"
        "without saving|save document|save before|modified externally|changed on disk|not saved properly|"
        "closed unexpectedly|quit unexpectedly|did not shut down|was not closed properly|restore your|"
        "restore the previous"},
    SupplementGroup{"Asks before something goes for good.",
        "do you want to|do you really want|really want|are you certain|sure you want|sure that you want|"
        "cannot be undone|can't be undone|can not be undone|not be undone|will be lost|already exists|"
        "move to trash|move to the trash|empty the trash"},
    SupplementGroup{"Asks before something ends or begins.",
        "still running|close all|close this window|closing this|leave this|leave site|leave page|quit anyway|"
        "exit anyway|will be logged out|will be closed|restart now|restart required|needs to be restarted|"
        "not responding"},
    SupplementGroup{"Asks about something that comes from outside.",
        "host key|authenticity|fingerprint|not trusted|cannot be verified|could not be verified|"
        "not be verified|unknown publisher|unknown source|contains macros|document macros|pair with|passkey|"
        "connect to this|license agreement|licence agreement|terms of|legal notice|agree to"},
    SupplementGroup{"Tells of something new, and asks whether it is wanted.",
        "new version|update available|updates available|ready to be installed|would you like|do you wish|"
        "keep this|keep these|default browser|make it the default|set as default|send a report|send report|"
        "crash report|help improve"}};

constexpr std::array kQuestions{
    SupplementGroup{"Says what is lost unless it is answered.",
        "unsaved|save changes|save the changes|save your changes|changes will be lost|will be lost|"
        "save before|before closing|before quitting|not saved properly|cannot be undone|can't be undone|"
        "you can't undo"},
    SupplementGroup{"Asks for a yes or a no in so many words.",
        "are you sure|are you certain|sure you want|do you really want|do you want to save|"
        "do you want to replace|do you want to overwrite|do you want to delete|do you want to remove|"
        "do you want to discard|do you want to continue|do you want to proceed|do you want to quit|"
        "do you want to close|do you want to keep|do you want to restore|do you want to allow|"
        "may be dangerous|could be dangerous|unsafe paste"},
    SupplementGroup{"Asks to trust an unknown party, or to let one in.",
        "do you trust|trust this|carry on connecting|want to continue connecting|certificate is unknown|"
        "certificate is not trusted|is not trusted|requesting access|requests access|wants access"},
    SupplementGroup{"Offers to bring back what was not kept.",
        "recovery process|attempt to recover|was not closed properly|did not shut down correctly|"
        "closed unexpectedly"}};

constexpr std::array kSecretPhrases{
    SupplementGroup{"Another word for a password.",
        "passphrase|pass phrase|passcode|pass code|your pin|the pin|pin code|puk|secret key|private key|"
        "recovery key|recovery phrase|master key|access token|one-time code|one time code|verification code|"
        "authentication code|credentials"},
    SupplementGroup{"Authenticating and unlocking take a secret of the person.",
        "authentication is needed|authentication is required|authentication required|authenticate as|"
        "requires authentication|keyring"}};

constexpr std::array kHazards{
    SupplementGroup{"Something is destroyed, or may be.",
        "delet*|eras*|remov*|discard*|overwrit*|replac*|permanent*|destroy*|destruct*|wip*|format*|empty|"
        "emptied|trash|uninstall*|purge*|reset*|clear*|lose|losing|lost|loss|undone|undo|irreversib*|revert*|"
        "corrupt*|damag*|forget"},
    SupplementGroup{"Something is ended that may hold work.",
        "quit*|kill*|terminat*|force*|shut down|shutdown|power off|reboot*|restart*|log out|logout|"
        "logging out|logged out|sign out|unsaved|without saving|not been saved|not be saved|still running|"
        "in progress|close all|leave|abandon*|cancel the"},
    SupplementGroup{"It is granted for ever, or to whoever asks.",
        "always|forever|for ever|every time|remember|never ask|not ask again|all future|from now on|"
        "any program|any application|all sites|all users"},
    SupplementGroup{"An unknown party is trusted.",
        "host key|hostkey|fingerprint*|authenticity|certificate*|trust*|untrusted|verif*|unknown|"
        "unidentified|insecure|not secure|unsafe|risk*|danger*|malicious|virus*|malware|harm*|attack*|"
        "expired|self-signed|signature*|unsigned"},
    SupplementGroup{"It runs what came from elsewhere, or with the rights of all.",
        "macro*|script*|execut*|root|superuser|super user|administrator|privileg*|sudo|password|passphrase|"
        "licen*|legal|agree*|terms|disclaimer|pay*|purchas*|buy|subscri*"},
    SupplementGroup{"A device or a person comes in.",
        "pair*|passkey|remote control|remote desktop|remotely|screen shar*|"
        "share your|sharing|control of|control your|your desktop|"
        "input devices|record*|use of key"},
    SupplementGroup{"What a page is granted, it keeps until that is taken back.",
        "your location|multiple files|send notifications|show notifications|use your camera*|use your microphone*"}};

constexpr std::array kSettingsTitles{
    SupplementGroup{"Titles of windows in which a program is set up.",
        "settings|preferences|properties|options|configuration|configure|customize|customise|page setup|"
        "print setup"}};

// clang-format on

}  // namespace

SupplementList promptServices() { return kPromptServices; }
SupplementList phrases() { return kPhrases; }
SupplementList questions() { return kQuestions; }
SupplementList secretPhrases() { return kSecretPhrases; }
SupplementList hazards() { return kHazards; }
SupplementList settingsTitles() { return kSettingsTitles; }

}  // namespace quillard::linuxphrases
