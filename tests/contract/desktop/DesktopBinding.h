#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/DesktopCapabilities.h"
#include "platform/desktop/SyntheticEvents.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"
#include "platform/process/Clock.h"
#include "platform/process/Console.h"
#include "platform/process/Environment.h"
#include "platform/process/Executors.h"
#include "platform/process/Random.h"
#include "platform/storage/UserDefaults.h"

namespace quillard::test {

// A prompt that a test wants to see on the screen: a dialog with these texts above a row of these buttons.
struct PromptOptions {
  std::string title = "Permission";
  std::vector<std::string> lines{"The program wants to use the camera."};
  std::vector<std::string> buttons{"Don't Allow", "Allow"};
  std::optional<std::size_t> disabledButton{};  // Which of them takes no presses.
  bool hasSecureTextField = false;              // With "hunter2" typed in.
  std::optional<Point> at{};                    // Top left, roughly: window managers add frames. Absent: anywhere.
  std::optional<std::string> successor{};       // The title of a prompt that the first press opens in the same place.
};

// A program that shows a prompt. Ends with this object at the latest.
class PromptProgram {
 public:
  PromptProgram() = default;
  PromptProgram(const PromptProgram&) = delete;
  PromptProgram& operator=(const PromptProgram&) = delete;
  virtual ~PromptProgram() = default;

  [[nodiscard]] virtual std::int32_t processIdentifier() const = 0;
  // The labels that were pressed, oldest first.
  [[nodiscard]] virtual std::vector<std::string> presses() = 0;
  // Ends immediately, as in a crash.
  virtual void kill() = 0;
  // Answers no request until it goes on.
  virtual void stop() = 0;
  virtual void goOn() = 0;
};

// A desktop of the test's own that can show prompts, seen through one binding.
class DesktopBinding {
 public:
  DesktopBinding() = default;
  DesktopBinding(const DesktopBinding&) = delete;
  DesktopBinding& operator=(const DesktopBinding&) = delete;
  virtual ~DesktopBinding() = default;

  virtual platform::Accessibility& accessibility() = 0;
  virtual platform::Workspace& workspace() = 0;
  virtual platform::WindowList& windowList() = 0;
  virtual platform::SyntheticEvents& syntheticEvents() = 0;
  virtual platform::DesktopCapabilities& capabilities() = 0;
  virtual platform::Clock& clock() = 0;
  virtual platform::Console& console() = 0;
  virtual const platform::Environment& environment() = 0;
  virtual platform::Random& random() = 0;
  virtual platform::UserDefaults& userDefaults() = 0;

  // Returns when the prompt is on the screen, in front, and can be read.
  [[nodiscard]] virtual std::unique_ptr<PromptProgram> show(const PromptOptions& options) = 0;

  // A program that has a window on the screen whose elements the accessibility interface does not reach. Null: none can
  // be shown here.
  [[nodiscard]] virtual std::unique_ptr<PromptProgram> showUnreadable() = 0;

  // What this desktop cannot do, as its capabilities have to say.
  [[nodiscard]] virtual std::set<platform::DesktopCapability> missing() const { return {}; }

  // Whether it can be told of a prompt that it is the one in front, by the desktop or by its program.
  [[nodiscard]] virtual bool tellsPromptInFront() const { return true; }

  // Whether the window list has the windows' names. Some systems keep them to themselves, and nothing may depend on
  // them.
  [[nodiscard]] virtual bool namesWindows() const { return true; }

  // From now on nothing can be read of the desktop, as without its service or the permission.
  virtual void loseDesktop() = 0;

  // Lets time pass, and the main thread run, until `condition` holds; false when it never came to hold.
  [[nodiscard]] virtual bool eventually(const std::function<bool()>& condition) = 0;
};

struct DesktopCase {
  std::string name;
  std::function<std::unique_ptr<DesktopBinding>()> make;
  // Why this machine cannot have it. Absent: it can.
  std::function<std::optional<std::string>()> whyMissing = [] { return std::optional<std::string>(); };
};

inline void PrintTo(const DesktopCase& each, std::ostream* out) { *out << each.name; }

}  // namespace quillard::test
