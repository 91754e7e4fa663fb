#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "macos/fakes/Objects.h"
#include "platform/process/Application.h"
#include "platform/process/Executors.h"
#include "platform/shell/LoginService.h"
#include "platform/shell/UserNotifications.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "platform/simulated/SimulatedSyntheticEvents.h"

namespace quillard::fakes {

// Which entitlements this process has for the data-protection keychain. `unvalidated`: an application identifier that
// no provisioning profile vouches for.
enum class Entitlements { none, unvalidated, keychainAccessGroups };

// Generic passwords in two keychains.
struct Keychain {
  Entitlements entitlements = Entitlements::keychainAccessGroups;
  bool isFileLocked = false;  // Reading wants a person's permission.
  // Belief: items of the file keychain that another build made. Reading and changing one wants a person's permission;
  // adding one of the same name finds a duplicate; deleting it works.
  std::set<std::pair<std::string, std::string>> itemsOfAnotherBuild{};
  bool mayAskUser = true;             // For the one in a file, which does not care what a request says of that.
  std::optional<OSStatus> refusal{};  // What every request is answered with.
  bool givesSomethingElse = false;    // Than data.
  bool givesNothingForEmptyData = false;
  int userQuestions = 0;                             // How often a person was asked.
  using Name = std::pair<std::string, std::string>;  // Service and account.
  std::map<Name, std::vector<std::uint8_t>> protectedItems;
  std::map<Name, std::vector<std::uint8_t>> fileItems;
};

struct BundleFacts {
  bool isThere = true;
  std::string path{"/Applications/Quillard.app"};
  Held identifier{};
  std::map<std::string, Held> information{};
  std::map<std::string, std::string> resources{};  // Name and extension, to the path.
};

// Answers that an application may give though it should not. Each attribute's value is given whatever the element.
struct OddAnswers {
  std::map<std::string, Held> values{};
  std::map<std::string, ::AXError> errors{};  // Of one attribute, in its place of a batch and alone.
  std::optional<CFIndex> batchLength{};       // How many slots an answer to many questions has.
  std::optional<::AXError> batchError{};      // Nothing but that for many questions.
  bool givesNullArrays = false;               // Success, and no list.
  // Belief: what a press may be answered with once it is done. A dialog's action may hold its application up, and
  // AppKit may have nothing left to answer for.
  std::optional<::AXError> answerAfterActing{};
  Seconds busyAfterActing{};  // For which the application then answers nothing: the action itself misses the time-out.
  std::optional<Held> actionNames{};
};

// AppKit's application object and notification centre, as what was asked of them.
struct AppKitFacts {
  platform::ActivationPolicy policy = platform::ActivationPolicy::prohibited;
  bool isActive = false;
  bool showsWindow = false;
  std::vector<std::string> calls{};  // "regular", "accessory", "activate", "hide", "unhide", in their order.
  std::string menuTitle{};
  std::vector<platform::ApplicationMenuItem> menu{};
  std::function<void()> onReopen{};
  bool isOpeningRefused = false;
  std::set<std::string> packages{};  // Paths that are no folders for the user.
  // Belief: from macOS 14 on, the system may refuse to bring another application to the front: by its answer, or in
  // silence.
  bool refusesActivation = false;
  bool ignoresActivation = false;
  // Belief: the system's own copy of who is in front grows old while the main loop does not run.
  std::optional<std::int32_t> staleFrontmost{};
  Seconds noticeDelay{};  // How much later the workspace's notices come.
  platform::LoginServiceStatus loginItem = platform::LoginServiceStatus::notFound;  // Belief: never registered.
  bool loginItemSucceeds = true;                                                    // Registering makes it enabled.
  std::optional<std::string> loginItemProblem{};
  bool hasNotificationCenter = true;
  int centersMade = 0;
  std::vector<platform::UserNotification> notes{};
  std::function<void(std::optional<std::string>)> authorization{};  // To be answered by the test, on any thread.
};

// The system that the C functions stand on, while it lives: at most one at a time. Without a desktop no process may use
// the accessibility interface. One thread at a time.
class MacSystem {
 public:
  // Both outlive this.
  MacSystem(platform::simulated::SimulatedDesktop& desktop, platform::simulated::SimulatedSyntheticEvents& events);
  MacSystem();
  ~MacSystem();
  MacSystem(const MacSystem&) = delete;
  MacSystem& operator=(const MacSystem&) = delete;

  // The one that lives. Stops the process when none does.
  [[nodiscard]] static MacSystem& current();

  // As any process of the session may.
  void announce(const std::string& notice) const;

  platform::simulated::SimulatedDesktop* desktop = nullptr;
  platform::simulated::SimulatedSyntheticEvents* events = nullptr;
  // Absent: no process has it.
  [[nodiscard]] std::optional<pid_t> processWithKeyboard() const;

  float processTimeout = 0;                            // Seconds; 0: the system's own.
  bool hasFocus = false;                               // The keyboard belongs to this process.
  std::optional<::AXError> focusedApplicationError{};  // In the place of who has the keyboard.
  bool mayRecordScreen = false;                        // Without it, windows have no names.
  AppKitFacts appKit;
  std::vector<platform::TaskHandle> underWay;  // What comes later.
  platform::SerialExecutor* loop = nullptr;    // Where what comes later comes from; none: nothing comes later.
  int trustQuestions = 0;                      // How often the user was asked for the permission.
  OddAnswers odd;
  std::multiset<std::string> asked;  // The attributes, alone or among others.
  std::vector<std::pair<std::string, pid_t>> removedNotifications;
  int detachedSources = 0;

  bool hasGraphicalSession = true;
  bool hasEventSource = true;
  std::vector<Held> furtherWindows;  // In front of all others, whatever they are.

  Keychain keychain;
  bool isGeneratorBroken = false;
  std::map<std::string, Held> preferences;
  int preferenceWrites = 0;
  BundleFacts bundle;

  struct Observer {
    const void* observer;
    CFNotificationCallback callBack;
    std::string name;
  };
  std::vector<Observer> observers;
};

}  // namespace quillard::fakes
