#pragma once

#include <string>
#include <vector>

#include "platform/linux/accessibility/NodeTree.h"
#include "platform/linux/accessibility/TreeFetch.h"

// GNOME Shell is one program with one window as large as the screen, its stage, in which all that it shows lies. Here
// its dialogs and notifications become windows of their own, as their user sees them, and the stage none.
namespace quillard::atspi::shell {

[[nodiscard]] bool isShell(const ProgramNode& program);

// How much of the stage is read: what it shows on most days, and where that is not all of it, as in an overview with
// many programs, five times as much. What is beyond that is not read.
enum class StageExtent { everyday, crowded };

// What has to be read of the shell before its windows can be told.
[[nodiscard]] FetchGoal stageGoal(ProgramNode& program, StageExtent extent = StageExtent::everyday);

// What has to be read next: the windows of programs, which the walk of the stage meets last.
[[nodiscard]] std::vector<FetchGoal> windowGroupGoals(ProgramNode& program, StageExtent extent = StageExtent::everyday);

// Whether all of the stage was read, so that a window that is not among those of the shell is not there. Once these
// goals were read, and before `windowsOf`.
[[nodiscard]] bool isStageWhole(const ProgramNode& program);

// The dialogs and notifications that show, and the questions about programs that do not answer. From now on each of
// them is the top-level object of all below it; it has the keyboard when the stage has it. Call it once those goals
// were read.
[[nodiscard]] std::vector<Node*> windowsOf(ProgramNode& program);

// What stands above all else in a window of the shell, none of which has a name. Empty: it holds no text. What is below
// it has been read.
[[nodiscard]] std::string headingOf(const Node& window);

// Whether it is a button that takes presses. The shell says of none that it does.
[[nodiscard]] bool isPressableButton(const Node& node);

}  // namespace quillard::atspi::shell
