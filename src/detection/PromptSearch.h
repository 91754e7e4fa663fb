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

namespace quillard {

// A window that shows a prompt now, as a scan would read it.
struct PromptCandidate {
  platform::AXUIElement content;  // The element that holds the prompt's buttons.
  PendingApproval approval;
};

// What a search reads with. All of it outlives the search; neither function is empty.
struct PromptSearchDependencies {
  platform::Accessibility& accessibility;
  std::function<WindowSources(platform::AXReadScope&)> windowsIn;
  // Absent: the window shows no prompt, or could not be read whole.
  std::function<std::optional<PromptCandidate>(platform::AXReadScope&, const WindowSource&)> candidateIn;
};

// Finds the prompt of one approval on the screen again: whether it is still there, and its button. `DialogDetector` has
// the contract of both; it makes one of these over its own reading of windows.
//
// Each operation reads in one scope of its own and waits for other processes. Changes nothing here: any thread, and two
// at a time.
class PromptSearch {
 public:
  explicit PromptSearch(PromptSearchDependencies dependencies) : dependencies(std::move(dependencies)) {}

  [[nodiscard]] PromptPresence presenceOf(const PendingApproval& approval) const;
  [[nodiscard]] std::optional<ResolvedDialogButton> resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel) const;

 private:
  struct Match;

  [[nodiscard]] bool isShownIn(platform::AXReadScope& scope, const std::vector<WindowSource>& sources,
                               const PendingApproval& approval) const;
  [[nodiscard]] std::optional<Match> bestMatchIn(platform::AXReadScope& scope, const std::vector<WindowSource>& sources,
                                                 const PendingApproval& approval, const std::string& buttonLabel) const;
  [[nodiscard]] std::optional<Match> matchIn(platform::AXReadScope& scope, const WindowSource& source,
                                             const PendingApproval& approval, const std::string& buttonLabel) const;

  const PromptSearchDependencies dependencies;
};

}  // namespace quillard
