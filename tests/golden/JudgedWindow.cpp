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
#include "support/GoldenFile.h"

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

// "[Delete|Remove]" at the front of `rest`, which it is taken from.
std::vector<std::string> takeHazards(const std::string& name, std::string& rest) {
  const auto end = rest.find(']');
  if (!rest.starts_with('[') || end == std::string::npos) {
    throw std::runtime_error("verdicts.txt does not say what is hazardous in " + name);
  }
  std::vector<std::string> hazards;
  std::istringstream labels{rest.substr(1, end - 1)};
  for (std::string label; std::getline(labels, label, '|');) hazards.push_back(label);
  rest.erase(0, end + 1);
  rest.erase(0, rest.find_first_not_of(' '));
  return hazards;
}

std::string treePath(const std::string& file) { return samples::goldenFolder() / "trees" / file; }

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
    std::string rest;
    std::getline(fields, rest);
    window.hazards = takeHazards(window.name, rest);
    if (!rest.empty()) window.knownMistake = rest;
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
