#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "simulation/Appearances.h"
#include "simulation/Chance.h"
#include "simulation/RunningApplications.h"
#include "simulation/Stage.h"

namespace quillard::simulation {

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
  void calmDown() { applications.calmDown(); }

  // ---- The truth.
  [[nodiscard]] const std::vector<Appearance>& appearances() const { return all.all(); }
  [[nodiscard]] std::vector<std::size_t> open() const { return all.open(); }
  // Presses of the agent that were noticed since the last call, oldest first.
  [[nodiscard]] std::vector<AgentPress> takeAgentPresses();
  // The appearance that turned into this one, in the same window. Absent: it is its window's first.
  [[nodiscard]] std::optional<std::size_t> predecessorOf(std::size_t appearance) const {
    return all.predecessorOf(appearance);
  }
  // Whether its window went with it.
  [[nodiscard]] bool tookItsWindowAlong(std::size_t appearance) const { return all.tookItsWindowAlong(appearance); }
  // Whether all applications have answered since `time`.
  [[nodiscard]] bool allAnsweredSince(Seconds time) const { return applications.allAnsweredSince(time); }
  // Whether its application answered everything, in time and truly, since `time`.
  [[nodiscard]] bool answeredSince(std::size_t appearance, Seconds time) const {
    return applications.answeredSince(all[appearance].application, time);
  }
  // The same up to `until`, whatever became of it then.
  [[nodiscard]] bool answeredBetween(std::size_t appearance, Seconds from, Seconds until) const {
    return applications.answeredBetween(all[appearance].application, from, until);
  }

 private:
  [[nodiscard]] Content newContent();
  void open(platform::simulated::ApplicationHandle application, const Content& content,
            std::optional<Rect> place = std::nullopt);
  [[nodiscard]] platform::simulated::PressEffect effect(platform::simulated::ApplicationHandle application);
  void pressed(platform::simulated::NodeHandle button, bool opensIdentical, bool opensOther);
  void takeAway(platform::simulated::NodeHandle button);
  void closeWindow(platform::simulated::NodeHandle window);
  [[nodiscard]] std::optional<std::size_t> anyOpen();
  // Absent: none runs.
  [[nodiscard]] std::optional<platform::simulated::ApplicationHandle> anyApplication();
  [[nodiscard]] Seconds mouseHeldBefore(Instant release);

  Stage& stage;
  Chance chance;
  RunningApplications applications;
  Appearances all;
  std::size_t contents = 0;
  std::size_t pressesRead = 0;
  std::size_t eventsRead = 0;
  std::optional<Instant> mouseWentDown;    // The last time among these events.
  std::vector<std::size_t> pressesByHand;  // Positions among the desktop's presses.
};

}  // namespace quillard::simulation
