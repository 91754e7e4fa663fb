#include "platform/simulated/SimulatedDesktopCapabilities.h"

#include <set>
#include <utility>

namespace quillard::platform::simulated {

void SimulatedDesktopCapabilities::setLimitation(DesktopCapability capability, std::optional<Limitation> limitation) {
  limitations.erase(capability);
  if (limitation) limitations.emplace(capability, *std::move(limitation));
}

std::optional<Limitation> SimulatedDesktopCapabilities::limitation(DesktopCapability capability) {
  const auto found = limitations.find(capability);
  return found == limitations.end() ? std::nullopt : std::optional(found->second);
}

Finding<std::vector<UnreadableProgram>> SimulatedDesktopCapabilities::unreadablePrograms() {
  if (accessibility.isProcessTrusted() != ProcessTrust::granted) return Limitation{"Not known without accessibility."};
  const auto missing = limitation(DesktopCapability::windowList);
  if (missing && !missing->isPartial) {
    return Limitation{"Not known: " + missing->reason};
  }
  std::vector<UnreadableProgram> programs;
  std::set<std::int32_t> listed;
  for (const auto& window : windowList.copyWindowInfo(WindowListOptions::all)) {
    const auto process = window.ownerProcessIdentifier;
    if (!process || workspace.runningApplication(*process) || !listed.insert(*process).second) continue;
    const auto name = window.ownerName.value_or(kUnknownProgramName);
    programs.push_back(
        {.processIdentifier = *process, .name = name, .remedy = "", .startEntry = starts.offeredFor(name)});
  }
  if (missing && !programs.empty()) return {std::move(programs), *missing};
  return programs;
}

}  // namespace quillard::platform::simulated
