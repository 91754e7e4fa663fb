#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"
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

// Every appearance that there has been on this desktop, by its number: what was on the screen at which time.
class Appearances {
 public:
  // `stage` outlives this.
  explicit Appearances(Stage& stage) : stage(stage) {}

  // Takes the next number, from now on.
  Appearance& add(Appearance appearance);
  // It is not there any more from now on. Nothing happens when it is not there already.
  void end(Appearance& appearance);
  void endAllOf(platform::simulated::ApplicationHandle application);

  [[nodiscard]] const std::vector<Appearance>& all() const { return appearances; }
  [[nodiscard]] Appearance& operator[](std::size_t number) { return appearances[number]; }
  [[nodiscard]] const Appearance& operator[](std::size_t number) const { return appearances[number]; }
  [[nodiscard]] std::size_t count() const { return appearances.size(); }
  // The numbers of those that are there now.
  [[nodiscard]] std::vector<std::size_t> open() const;
  // What the window shows now. Null: nothing.
  [[nodiscard]] Appearance* current(platform::simulated::NodeHandle window);
  // What the window showed at that time; at the moment when one turned into another, the earlier one.
  [[nodiscard]] std::optional<std::size_t> at(platform::simulated::NodeHandle window, Seconds time) const;
  // The appearance that turned into this one, in the same window. Absent: it is its window's first.
  [[nodiscard]] std::optional<std::size_t> predecessorOf(std::size_t number) const;
  // Whether its window went with it.
  [[nodiscard]] bool tookItsWindowAlong(std::size_t number) const;

 private:
  Stage& stage;
  std::vector<Appearance> appearances;
};

}  // namespace quillard::simulation
