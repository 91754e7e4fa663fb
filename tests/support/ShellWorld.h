#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/Roles.h"
#include "platform/linux/windows/DesktopWindows.h"
#include "platform/qt/QtExecutors.h"
#include "support/FakeAccessibilityBus.h"

// A shell that shows a dialog and a notification, and a compositor's keyboard, on a bus of their own.
namespace quillard::test {

inline constexpr auto kShellShown = atspi::bit(atspi::State::showing) | atspi::bit(atspi::State::sensitive);
inline constexpr auto kShellFocused = kShellShown | atspi::bit(atspi::State::focused);

inline FakeObject shellObject(atspi::Role role, const std::string& name, std::vector<std::string> children = {},
                              std::uint64_t states = kShellShown) {
  FakeObject object{.role = static_cast<std::uint32_t>(role), .states = states, .name = name};
  object.extents = Rect{10, 10, 100, 20};
  object.children = std::move(children);
  return object;
}

inline constexpr atspi::Role kShellPanel{39};
inline constexpr atspi::Role kShellStage{69};
inline constexpr atspi::Role kShellProgram{75};

// What the session bus has of the shell. Any thread.
struct Compositor {
  enum class Lock { cannotBeLocked, isOpen, isLocked, isSilent };

  std::atomic<Lock> lock{Lock::cannotBeLocked};
  std::atomic<bool> givesKeyboard{true};
  std::atomic<bool> takesFocus{true};
  std::atomic<bool> locksWhileItOpens{false};
  std::string refusedQuestion;  // "member path". Set before anything is asked.
  std::atomic<bool> starts{true};
  std::atomic<bool> takesKeyDown{true};
  std::atomic<bool> hangsOnceItIsOpen{false};
  std::atomic<bool> isSlowOnceItIsOpen{false};
  // Set before anything is asked: the keyboard opens, an object is given the focus, a key goes down.
  std::function<void()> onOpen = [] {};
  std::function<void(const std::string& path)> onFocus = [](const std::string&) {};
  std::function<void()> onKeyDown = [] {};
  std::function<void()> onCheck = [] {};  // The first question of the last proof before it.
  // An object is asked for its states. True: it does not answer.
  std::function<bool(const std::string& path)> onStates = [](const std::string&) { return false; };

  // Of the keyboard, in order: "Start", "28 down".
  std::vector<std::string> calls() {
    const std::lock_guard guard(mutex);
    return all;
  }

  bool answer(sd_bus_message* message) {
    const std::string member = sd_bus_message_get_member(message);
    const std::string interface = sd_bus_message_get_interface(message);
    if (member + " " + sd_bus_message_get_path(message) == refusedQuestion) {
      return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "no") >= 0;
    }
    if (member == "GrabFocus") {
      if (takesFocus) onFocus(sd_bus_message_get_path(message));
      return sd_bus_reply_method_return(message, "b", takesFocus ? 1 : 0) >= 0;
    }
    if (member == "GetState" && onStates(sd_bus_message_get_path(message))) return true;
    if (sd_bus_message_get_path(message) == kKeyboard && member == "Get") return answerSoon(message);
    if (member == "DoAction") {  // As the shell does.
      note("DoAction");
      return sd_bus_reply_method_return(message, "b", 1) >= 0;
    }
    if (interface == "org.gnome.ScreenSaver") return answerLock(message);
    if (!interface.starts_with("org.gnome.Mutter.RemoteDesktop")) return false;
    if (member == "CreateSession") {
      onOpen();
      if (locksWhileItOpens) lock = Lock::isLocked;
      if (!givesKeyboard) return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_ACCESS_DENIED, "no") >= 0;
      return sd_bus_reply_method_return(message, "o", kKeyboard.c_str()) >= 0;
    }
    const auto refuse = [&] { return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "no") >= 0; };
    if (member == "Start" && !starts) return refuse();
    if (noteKey(message, member) && !takesKeyDown) return refuse();
    return sd_bus_reply_method_return(message, "") >= 0;
  }

 private:
  inline static const std::string kKeyboard = "/keyboard";

  bool answerSoon(sd_bus_message* message) {
    onCheck();
    if (hangsOnceItIsOpen) return true;
    if (isSlowOnceItIsOpen) std::this_thread::sleep_for(std::chrono::milliseconds{150});  // Longer than is waited for.
    return sd_bus_reply_method_return(message, "v", "s", "keyboard") >= 0;
  }

  bool answerLock(sd_bus_message* message) {
    switch (lock) {
      case Lock::cannotBeLocked:
        return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_METHOD, "no such object") >= 0;
      case Lock::isSilent:
        return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "it cannot be told") >= 0;
      case Lock::isOpen:
      case Lock::isLocked:
        break;
    }
    return sd_bus_reply_method_return(message, "b", lock == Lock::isLocked ? 1 : 0) >= 0;
  }

  // Whether it is a key that goes down.
  bool noteKey(sd_bus_message* message, const std::string& member) {
    unsigned key = 0;
    int isDown = 0;
    const bool isKey = member == "NotifyKeyboardKeycode" && sd_bus_message_read(message, "ub", &key, &isDown) >= 0;
    note(isKey ? std::to_string(key) + (isDown != 0 ? " down" : " up") : member);
    if (isKey && isDown != 0) onKeyDown();
    return isKey && isDown != 0;
  }

  void note(const std::string& call) {
    const std::lock_guard guard(mutex);
    all.push_back(call);
  }

  std::mutex mutex;
  std::vector<std::string> all;
};

inline const std::vector<std::string> kNamesOfShell{"org.gnome.Shell", "org.gnome.Mutter.RemoteDesktop"};

struct ShellWorld {
  // `names`: what the shell owns on the session bus; `ofAnother`: what another client of the same process does.
  explicit ShellWorld(const std::vector<std::string>& names = kNamesOfShell,
                      const std::vector<std::string>& ofAnother = {}, Seconds messagingTimeout = Seconds{20},
                      Seconds slowShellTimeout = Seconds{20})
      : shell(bus.address(), "", [this](sd_bus_message* message) { return compositor.answer(message); }),
        ofShell(bus.address(), names, [this](sd_bus_message* message) { return compositor.answer(message); }),
        another(bus.address(), ofAnother, [this](sd_bus_message* message) { return compositor.answer(message); }),
        accessibility({.sessionBusAddress = bus.address(),
                       .messagingTimeout = messagingTimeout,
                       .systemBusAddress = bus.address(),
                       .slowShellTimeout = slowShellTimeout},
                      windows, executors) {
    compositor.onFocus = [this](const std::string& path) { moveFocus(path); };
    compositor.onKeyDown = [this] {
      const std::lock_guard guard(mutex);
      pressed.push_back(focus);
    };
    bus.registerPrograms({shell.name()});
    shell.speakAs("clutter", "43.8");
    shell.set(FakeProgram::kRoot, shellObject(kShellProgram, "gnome-shell", {"/stage"}));
    shell.set("/stage", shellObject(kShellStage, "", {"/group"}, kShellShown | atspi::bit(atspi::State::active)));
    shell.set("/group", shellObject(kShellPanel, "", {"/windows", "/bar", "/tray", "/modal"}));
    shell.set("/windows", shellObject(kShellPanel, ""));
    shell.set("/bar", shellObject(kShellPanel, "", {"/activities"}));
    shell.set("/activities", shellObject(atspi::Role::pushButton, "Activities"));
    shell.set("/tray", shellObject(kShellPanel, "", {"/notification"}));
    shell.set("/notification", shellObject(atspi::Role::notification, "", {"/news", "/open"}));
    shell.set("/news", shellObject(atspi::Role::label, "News", {"/newsText"}));
    FakeObject repeated = shellObject(atspi::Role::text, "");
    repeated.text = "News";
    shell.set("/newsText", repeated);
    shell.set("/open", shellObject(atspi::Role::pushButton, "Open"));
    shell.set("/modal", shellObject(kShellPanel, "", {"/dialog"}));
    shell.set("/dialog", shellObject(atspi::Role::dialog, "", {"/title", "/body", "/deny", "/allow"}));
    shell.set("/title", shellObject(atspi::Role::label, "Allow camera use?"));
    FakeObject body = shellObject(atspi::Role::label, "A program wants it.");
    body.extents = Rect{10, 40, 100, 20};
    shell.set("/body", body);
    moveFocus("/deny");
  }

  // Among the buttons and the entry; from any thread.
  void moveFocus(const std::string& path) {
    const std::lock_guard guard(mutex);
    focus = path;
    shell.set("/deny",
              shellObject(atspi::Role::pushButton, "Don't Allow", {}, path == "/deny" ? kShellFocused : kShellShown));
    shell.set("/allow",
              shellObject(atspi::Role::pushButton, "Allow", {}, path == "/allow" ? kShellFocused : kShellShown));
    shell.set("/open", shellObject(atspi::Role::pushButton, "Open", {}, path == "/open" ? kShellFocused : kShellShown));
    shell.set("/inner",
              shellObject(atspi::Role::text, "", {},
                          (path == "/inner" ? kShellFocused : kShellShown) | atspi::bit(atspi::State::editable)));
  }
  void addEntryToDialog() {
    shell.set("/dialog", shellObject(atspi::Role::dialog, "", {"/title", "/entry", "/deny", "/allow"}));
    shell.set("/entry", shellObject(atspi::Role::entry, "", {"/inner"}));
  }
  // From when a button of this path has got the focus.
  void lockOnceItIsFocused(const std::string& button) {
    compositor.lock = Compositor::Lock::isOpen;
    compositor.onFocus = [this, button](const std::string& path) {
      moveFocus(path);
      if (path == button) compositor.lock = Compositor::Lock::isLocked;
    };
  }
  std::string focused() {
    const std::lock_guard guard(mutex);
    return focus;
  }
  // What had the focus as each key went down.
  std::vector<std::string> pressedOn() {
    const std::lock_guard guard(mutex);
    return pressed;
  }

  std::vector<platform::AXUIElement> allWindows() {
    return AXHelpers::windows(accessibility, accessibility.createApplication(::getpid()));
  }
  std::optional<platform::AXUIElement> button(const std::string& label) {
    for (const auto& window : allWindows()) {
      for (const auto& element : AXHelpers::deeplyNestedChildren(accessibility, window, 80)) {
        if (AXHelpers::stringAttribute(accessibility, element, platform::ax::kTitle) == label) return element;
      }
    }
    return std::nullopt;
  }
  platform::AXError press(const std::string& label) {
    const auto found = button(label);
    EXPECT_TRUE(found) << label;
    return found ? accessibility.performAction(*found, platform::ax::kPressAction) : platform::AXError::failure;
  }

  FakeAccessibilityBus bus;
  Compositor compositor;
  std::mutex mutex;
  std::string focus;
  std::vector<std::string> pressed;
  FakeProgram shell;  // On the accessibility bus.
  FakeProgram ofShell;
  FakeProgram another;
  std::optional<FakeProgram> manager;  // Of logins, on the same bus. Absent: there is none.
  desktop::NoDesktopWindows windows;
  qt::QtExecutors executors;
  atspi::LinuxAccessibility accessibility;
};

}  // namespace quillard::test
