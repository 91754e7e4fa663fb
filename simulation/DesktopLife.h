#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"
#include "simulation/Chance.h"
#include "simulation/Stage.h"

namespace quillard::simulation {

// What a prompt says, and what the agent has to make of it.
struct Content {
  std::string title;  // Of one content only, but for twins and identical successors.
  std::vector<std::string> lines;
  std::vector<std::string> buttons;
  bool needsDirectAccess = false;  // It asks for a password, or one of its texts cannot be read.
  bool isUnreadable = false;       // One of its texts cannot be read.
  bool operator==(const Content&) const = default;
};

// The labels that two buttons have given each other.
struct LabelSwap {
  Seconds at{0};
  std::string first;
  std::string second;
};

// One appearance: one content in one window, from when it was there until it was not. A window whose content changes
// shows another appearance from then on. Never forgotten.
struct Appearance {
  std::size_t number = 0;
  platform::simulated::NodeHandle window{};
  platform::simulated::ApplicationHandle application{};
  Content content;
  Seconds from{0};
  std::optional<Seconds> to{};         // Absent: it is still there.
  std::vector<DialogFrame> places{};   // Where the window has been meanwhile, oldest first.
  std::optional<LabelSwap> swapped{};  // The last time.
  std::optional<Seconds> unsteady{};   // When something about it last changed that a scan may see as another prompt.
};

// One press that reached a button, by the agent.
struct AgentPress {
  Seconds at{0};
  std::size_t appearance = 0;
  std::string label;
  bool isTaken = true;  // False: refused, nothing came of it.
  Seconds held{0};      // How long the mouse was down before. Zero: by a request or a key, which press at once.
};

// The applications and their prompts: what a person would see on the screen. It holds the truth about every prompt and
// every press, and never asks the agent. Its chances decide what opens and how it misbehaves; what is asked of it by
// name happens to an application or prompt of its choice, or not at all when there is none.
class DesktopLife {
 public:
  DesktopLife(Stage& stage, std::uint64_t seed);
  DesktopLife(const DesktopLife&) = delete;
  DesktopLife& operator=(const DesktopLife&) = delete;

  // ---- What happens by itself.
  void startApplication();
  void openPrompt();
  void openTwin();
  // Together larger than what fits into one message. They close by themselves, since they take long to read.
  void openHugePrompts();
  void closePrompt();
  void answerByHand();
  void changeText();
  void turnIntoPassword();
  void swapLabels();
  void moveWindow();
  void endApplication();
  void hangApplication(Seconds duration);
  void slowApplication(Seconds duration);
  void hideApplication(Seconds duration);
  void lieAboutWindows(Seconds duration);

  // ---- What happens to one appearance, when it is still there.
  void close(std::size_t appearance);
  void replaceContent(std::size_t appearance, bool withPassword);
  void openTwinOf(std::size_t appearance);
  void hangApplicationOf(std::size_t appearance, Seconds duration);

  // Every application answers, and none is hidden.
  void calmDown();

  // ---- The truth.
  [[nodiscard]] const std::vector<Appearance>& appearances() const { return all; }
  [[nodiscard]] std::vector<std::size_t> open() const;
  // Presses of the agent that were noticed since the last call, oldest first.
  [[nodiscard]] std::vector<AgentPress> takeAgentPresses();
  // The appearance that turned into this one, in the same window. Absent: it is its window's first.
  [[nodiscard]] std::optional<std::size_t> predecessorOf(std::size_t appearance) const;
  // Whether its window went with it.
  [[nodiscard]] bool tookItsWindowAlong(std::size_t appearance) const;
  // Whether all applications have answered since `time`.
  [[nodiscard]] bool allAnsweredSince(Seconds time) const;
  // Whether its application answered everything, in time and truly, since `time`.
  [[nodiscard]] bool answeredSince(std::size_t appearance, Seconds time) const;
  // The same up to `until`, whatever became of it then.
  [[nodiscard]] bool answeredBetween(std::size_t appearance, Seconds from, Seconds until) const;

 private:
  struct Application {
    platform::simulated::ApplicationHandle handle;
    std::optional<Seconds> impairedUntil{};   // Until then it does not answer well. Infinite: until it is told to.
    std::optional<Seconds> lastImpaired{};    // When it last did not.
    Seconds impairmentBegan{0};               // Of the newest impairment.
    std::optional<Seconds> impairedBefore{};  // The end of the one before that.
  };

  [[nodiscard]] Content newContent();
  void open(platform::simulated::ApplicationHandle application, const Content& content,
            std::optional<Rect> place = std::nullopt);
  [[nodiscard]] platform::simulated::PressEffect effect(platform::simulated::ApplicationHandle application);
  void pressed(platform::simulated::NodeHandle button, bool opensIdentical, bool opensOther);
  void takeAway(platform::simulated::NodeHandle button);
  void end(Appearance& appearance);
  void endAllOf(platform::simulated::ApplicationHandle application);
  void closeWindow(platform::simulated::NodeHandle window);
  void impaired(platform::simulated::ApplicationHandle application, Seconds duration);
  void calmDown(Application& application);
  [[nodiscard]] Appearance* current(platform::simulated::NodeHandle window);
  [[nodiscard]] std::optional<std::size_t> anyOpen();
  [[nodiscard]] Application* anyApplication();
  [[nodiscard]] Application* find(platform::simulated::ApplicationHandle application);
  [[nodiscard]] const Application* find(platform::simulated::ApplicationHandle application) const;
  [[nodiscard]] Seconds mouseHeldBefore(Instant release);
  [[nodiscard]] std::optional<std::size_t> appearanceAt(platform::simulated::NodeHandle window, Seconds at) const;

  Stage& stage;
  Chance chance;
  std::vector<Application> applications;  // Those that run.
  std::vector<Appearance> all;
  std::size_t contents = 0;
  std::size_t pressesRead = 0;
  std::size_t eventsRead = 0;
  std::optional<Instant> mouseWentDown;    // The last time among these events.
  std::vector<std::size_t> pressesByHand;  // Positions among the desktop's presses.
};

}  // namespace quillard::simulation
