#include "golden/JudgedWindow.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "approvals/ApprovalSuppressionStore.h"
#include "detection/StableIDs.h"
#include "platform/simulated/DesktopLoader.h"
#include "private-desktop/FileContents.h"
#include "recording/RecordedDesktopJson.h"

namespace quillard::golden {
namespace {

constexpr std::array kKinds{std::pair{Kind::prompt, "prompt"}, std::pair{Kind::secret, "secret"},
                            std::pair{Kind::information, "information"}, std::pair{Kind::form, "form"},
                            std::pair{Kind::main, "main"}};

constexpr std::int32_t kOwnProcess = 99;
constexpr std::size_t kHeldBackEvery = 3;

Kind kindNamed(const std::string& name) {
  for (const auto& [kind, known] : kKinds) {
    if (name == known) return kind;
  }
  throw std::runtime_error("verdicts.txt names no kind: " + name);
}

std::string treePath(const std::string& file) { return std::string(QUILLARD_GOLDEN_DIRECTORY "/trees/") + file; }

}  // namespace

std::string nameOf(Kind kind) {
  return std::find_if(kKinds.begin(), kKinds.end(), [&](const auto& known) { return known.first == kind; })->second;
}

bool isPrompt(Kind kind) { return kind == Kind::prompt || kind == Kind::secret; }

Judgement judge(platform::simulated::SimulatedWorld& world, const platform::PromptSupplement& supplement) {
  const ApprovalSuppressionStore suppressionStore{world.userDefaults()};
  const StableIDs stableIDs{world.random()};
  DialogDetector detector{kOwnProcess,
                          suppressionStore,
                          {world.accessibility(), world.workspace(), world.windowList(), world.time(),
                           world.environment(), world.console(), stableIDs, supplement}};
  (void)detector.scan();
  return {.prompts = detector.scan().approvals, .diagnosis = detector.diagnose()};
}

std::vector<JudgedWindow> recordedWindows() {
  std::vector<JudgedWindow> windows;
  std::istringstream file{privatedesktop::fileContents(treePath("verdicts.txt"))};
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.front() == '#') continue;
    std::istringstream fields{line};
    JudgedWindow window;
    std::string kind;
    fields >> window.name >> kind >> std::ws;
    window.kind = kindNamed(kind);
    std::string mistake;
    if (std::getline(fields, mistake) && !mistake.empty()) window.knownMistake = mistake;
    window.isHeldBack = windows.size() % kHeldBackEvery == kHeldBackEvery - 1;
    windows.push_back(std::move(window));
  }
  return windows;
}

void loadRecordedWindow(const std::string& name, platform::simulated::SimulatedWorld& world) {
  auto outcome = recording::readRecordedDesktop(privatedesktop::fileContents(treePath(name + ".json")));
  const auto* const desktop = std::get_if<recording::RecordedDesktop>(&outcome);
  if (!desktop) throw std::runtime_error(name + ": " + std::get<JsonError>(outcome).description());
  (void)platform::simulated::loadDesktop(*desktop, world.desktop());
}

}  // namespace quillard::golden
