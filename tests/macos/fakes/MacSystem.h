#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "macos/fakes/Objects.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "platform/simulated/SimulatedSyntheticEvents.h"

namespace quillard::fakes {

// Which entitlements this process has for the data-protection keychain. `unvalidated`: an application identifier that
// no provisioning profile vouches for.
enum class Entitlements { none, unvalidated, keychainAccessGroups };

// Generic passwords in two keychains.
struct Keychain {
  Entitlements entitlements = Entitlements::keychainAccessGroups;
  bool isFileLocked = false;          // Reading wants a person's permission.
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
  std::optional<Held> actionNames{};
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
  float processTimeout = 0;  // Seconds; 0: the system's own.
  bool hasFocus = false;     // The keyboard belongs to this process.
  int trustQuestions = 0;    // How often the user was asked for the permission.
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
