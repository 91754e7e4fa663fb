#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "approvals/PendingApproval.h"
#include "detection/PromptPresence.h"
#include "detection/ResolvedDialogButton.h"
#include "detection/WindowSource.h"
#include "detection/WindowSources.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"

namespace quillard {

// A window that shows a prompt now, as a scan would read it, whether that kind is suppressed or not: muting decides
// what is listed, never what is on screen.
struct PromptCandidate {
  platform::AXUIElement content;  // The element that holds the prompt's buttons.
  PendingApproval approval;
  bool blocksOthers = false;  // Other dialogs of its program wait until this one is answered.
};

// What one window was read to show.
struct WindowContent {
  std::optional<PromptCandidate> prompt;  // Absent: no prompt, as far as it was read.
  bool isWhole = true;                    // False: some of it could not be read, so it may show more or something else.
  bool isLookedUp = true;  // False: nor is it whole. What its texts mean could not be looked up, so it may be a prompt.
};

// What came of the search for a button.
struct PromptResolution {
  enum class Outcome {
    found,
    notFound,              // The prompt has gone, or has no such button.
    requiresDirectAccess,  // The prompt on screen may not be approved from afar, unlike when it was read last.
    unknown,               // It could not be read.
  };
  Outcome outcome = Outcome::notFound;
  std::optional<ResolvedDialogButton> button;  // Present exactly when it was found.
};

// What a search reads with. All of it outlives the search; neither function is empty.
struct PromptSearchDependencies {
  platform::Accessibility& accessibility;
  platform::Workspace& workspace;
  platform::WindowList& windowList;
  int descendantsPerWindow = 0;  // How much of a window `read` walks; a hint for the scope.
  std::function<WindowSources(platform::AXReadScope&)> windowsIn;
  std::function<WindowContent(platform::AXReadScope&, const WindowSource&)> read;
};

// Finds the prompt of one approval on the screen again: whether it is still there, and its button.
//
// An approval that names its window (`PendingApproval::window`) is one appearance, and only that window is searched: a
// twin with the same content is never taken for it, neither as present nor for its button. Of an approval without a
// window, the window that matches best counts.
//
// That a window has gone needs a proof: its application answered in full, and neither lists the window nor is it named
// by the desktop; or the window was read whole and shows something else; or its application has ended. An application
// that does not answer proves nothing, but then the window server is asked: a window that it listed when the button was
// found, and lists no longer, has gone.
//
// Each operation reads in one scope of its own and waits for other processes. Changes nothing here: any thread, and two
// at a time.
class PromptSearch {
 public:
  explicit PromptSearch(PromptSearchDependencies dependencies) : dependencies(std::move(dependencies)) {}

  [[nodiscard]] PromptPresence presenceOf(const PendingApproval& approval) const;
  // The same in the window in which the prompt was found for a press.
  [[nodiscard]] PromptPresence presenceOf(const PendingApproval& approval, const PromptWindow& window) const;

  // The live button labelled exactly `buttonLabel`. The window of the one that is found is restored and raised.
  [[nodiscard]] PromptResolution resolve(const PendingApproval& approval, const std::string& buttonLabel) const;

 private:
  class Reading;

  const PromptSearchDependencies dependencies;
};

}  // namespace quillard
