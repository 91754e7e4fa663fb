#include "platform/linux/supplement/LinuxLabels.h"

#include <array>

namespace quillard::linuxlabels {

using platform::SupplementGroup;
using platform::SupplementList;

namespace {

// clang-format off
constexpr std::array kSafeDismissals{
    SupplementGroup{"Refuses what a portal or agent asks.",
        "deny access|deny all|reject|reject all|refuse|decline|disallow|don't trust|don't share|"
        "don't connect|don't pair|don't run|don't open|don't send|don't install|don't update|don't upgrade|"
        "don't enable|don't agree|i don't agree|i do not agree|do not agree|disagree|i decline|i disagree|"
        "do not allow|do not trust|do not install|do not share|do not connect"},
    SupplementGroup{"Refuses what a web page asks, for now or for good; it grants nothing.",
        "block|always block|always deny|never allow|never|not allow"},
    SupplementGroup{"Leaves all as it is and asks again some other time.",
        "no thanks|no, thanks|no thank you|not yet|maybe later|ask me later|ask again later|ask later|"
        "remind me later|remind me tomorrow|do it later"},
    SupplementGroup{"Goes back to what was there, and nothing is lost.",
        "go back|back to safety|stay|stay on page|stay on this page|stay here|keep editing|continue editing|"
        "don't quit|don't close|don't exit|don't leave|don't delete|don't remove|don't replace|"
        "don't overwrite|don't restart|don't log out|do not delete|do not remove|do not replace|"
        "do not overwrite|do not quit|do not close|do not restart|keep playing"},
    SupplementGroup{"Keeps the safe state that a document was opened in.",
        "disable macros|keep disabled|keep blocking"}};

constexpr std::array kDismissals{
    SupplementGroup{"Passes over one or all of several questions.",
        "skip all|skip this version|skip update|skip file|skip this update|auto skip|ignore|ignore all|"
        "ignore once"},
    SupplementGroup{"Ends what is under way, and may lose what it has done.",
        "abort|cancel all|cancel download|cancel transfer|cancel installation|cancel operation|stop waiting|"
        "give up"},
    SupplementGroup{"Puts off what would take time.",
        "postpone|snooze|delay|wait|later *"},
    SupplementGroup{"Refuses, and does not say what is done instead.",
        "dismiss|no, *|don't *|do not *"}};

constexpr std::array kActions{
    SupplementGroup{"Grants what a portal, an agent or a page asks.",
        "grant|grant *|allow *|share|share *|permit|permit *|accept|accept *|approve|approve *|authorize|"
        "authorise|authenticate|unlock|unlock *|confirm|confirm *|agree|agree *|i agree|i agree *|i accept|"
        "i accept *|i understand *|trust|trust *|pair|pair *|enable|enable *|always *|yes, *|yes *|remember|"
        "remember *|unblock|let *|sign in|log in|login|verify *"},
    SupplementGroup{"Starts or continues what a program wants to do.",
        "start|start *|begin|run|run *|launch|launch *|execute|execute *|continue *|proceed|proceed *|"
        "go ahead|resume|resume *|retry|try again|try *|reload|reload *|refresh|open|open *|view|view *|play|"
        "play *|pause|pause *|connect|connect *|reconnect|disconnect|disconnect *|mount|mount *|unmount|"
        "unmount *|eject|eject *|join|join *|call|answer|send|send *|report|submit|submit *|upload|upload *|"
        "download|download *|print|print *|switch|switch *|use|use *|set|set *|turn *|activate|activate *|"
        "extract|extract *|import|import *|export|export *|convert|convert *|copy *|move|move *|merge|"
        "merge *|rename|rename *|rename all|load|load *|make *|create|create *|add *|change|change *|keep|"
        "keep *|show *|visit *|go to *|check *|repair|repair *|fix|fix *|restore|restore *|recover|recover *|"
        "reopen|reopen *|register|register *|subscribe|finish|complete|select"},
    SupplementGroup{"Keeps or changes what is stored.",
        "save *|overwrite|overwrite *|replace *|update|update *|upgrade|upgrade *|install *|reinstall|"
        "reinstall *|configure now"},
    SupplementGroup{"Takes something away for good, or may.",
        "delete *|remove|remove *|erase *|discard *|clear|clear *|empty|empty *|move to trash|trash|format|"
        "format *|wipe|wipe *|reset|reset *|uninstall|uninstall *|purge|purge *|forget|forget *|destroy|"
        "destroy *|revoke|revoke *|disable|disable *|unpair|unregister|detach|detach *|drop|drop *"},
    SupplementGroup{"Throws away what was not kept.",
        "don't save|do not save|close without saving|quit without saving|exit without saving|"
        "log out without saving|revert|revert *|undo"},
    SupplementGroup{"Ends a program, a window, a session or the computer.",
        "close *|quit *|exit|exit *|leave|leave *|end|end *|stop|stop *|terminate|terminate *|kill|kill *|"
        "force *|shut down|shut down *|shutdown|power off|power off *|switch off|turn off|reboot|reboot *|"
        "restart *|log out|log out *|logout|sign out|suspend|hibernate|sleep|lock|lock screen|abandon *"},
    SupplementGroup{"Goes to the page where it is decided.",
        "settings|open preferences|manage *"}};

constexpr std::array kAcknowledgements{
    SupplementGroup{"Acknowledges, and closes what says it.",
        "ok|okay|close|done|got it|ok, got it|i understand|understood|thanks|thank you|alright|fine|hide|"
        "close this message|continue"}};

constexpr std::array kAsides{
    SupplementGroup{"Explains, and decides nothing.",
        "help|show help|what's this|learn more|learn more *|more information|more info|information|about|"
        "about *|faq|documentation|read more|why|tell me more|view license|license|licence|credits|website|"
        "report bug|report a bug"},
    SupplementGroup{"Shows more of what is there.",
        "details|show details|hide details|more details|view details|show more|more|less|expand|collapse|"
        "show log|view log|show password|hide password|show text|copy|copy to clipboard|copy details|"
        "view certificate|show certificate|options|advanced"},
    SupplementGroup{"Belongs to the frame of a window.",
        "minimize|minimise|maximize|maximise|restore down|unmaximize|menu|app menu|application menu|"
        "window menu|main menu"}};

constexpr std::array kFormLabels{
    SupplementGroup{"Settles what has been set, and stays.",
        "apply|apply *|reset to defaults|defaults|default|restore defaults|load defaults|use defaults|"
        "reset all"},
    SupplementGroup{"Leads through the pages of an assistant or a tip.",
        "next|next *|previous|previous *|back|forward|last|first|prev"},
    SupplementGroup{"Searches.",
        "find|find *|search|search *|count|mark all|highlight *"},
    SupplementGroup{"Changes what a form holds.",
        "browse|browse *|choose|choose *|select all|select none|deselect all|unselect all|invert selection|"
        "add|edit|edit *|new|new *|up|down|move up|move down|insert|insert *|duplicate|manage|preview|color|"
        "colour|font|customize|customise|configure|preferences|properties|test|scan|detect|refresh list|"
        "clear list|all settings"}};

// clang-format on

}  // namespace

SupplementList safeDismissals() { return kSafeDismissals; }
SupplementList dismissals() { return kDismissals; }
SupplementList actions() { return kActions; }
SupplementList acknowledgements() { return kAcknowledgements; }
SupplementList asides() { return kAsides; }
SupplementList formLabels() { return kFormLabels; }

}  // namespace quillard::linuxlabels
