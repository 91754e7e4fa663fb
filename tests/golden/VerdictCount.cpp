#include "golden/VerdictCount.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "golden/SampleWindows.h"

namespace quillard::golden {
namespace {

constexpr std::array kAllKinds{Kind::prompt, Kind::secret, Kind::information, Kind::form, Kind::main};

struct Count {
  int windows = 0;
  int taken = 0;
  int wrong = 0;
  int marked = 0;
  int hazards = 0;
};

Count countOf(const std::vector<CountedWindow>& windows, Kind kind, bool isHeldBack) {
  Count count;
  for (const auto& each : windows) {
    if (each.window.kind != kind || each.window.isHeldBack != isHeldBack) continue;
    ++count.windows;
    count.taken += each.isTaken() ? 1 : 0;
    count.wrong += each.isRight() ? 0 : 1;
    count.marked += kind == Kind::secret && each.isSecretMarked() ? 1 : 0;
    count.hazards += each.recommendsHazard() ? 1 : 0;
  }
  return count;
}

std::string row(const std::string& name, const Count& count, bool isSecret) {
  std::array<char, 128> line{};
  const std::string marked = isSecret ? std::to_string(count.marked) : "";
  std::snprintf(line.data(), line.size(), "  %-24s %8d %8d %8d %8s %8d\n", name.c_str(), count.windows, count.taken,
                count.wrong, marked.c_str(), count.hazards);
  return line.data();
}

}  // namespace

bool CountedWindow::isSecretMarked() const {
  const auto& prompts = judgement.prompts;
  return !prompts.empty() && std::all_of(prompts.begin(), prompts.end(),
                                         [](const PendingApproval& prompt) { return prompt.requiresDirectAccess; });
}

std::set<std::string> CountedWindow::recommended() const {
  std::set<std::string> labels;
  for (const auto& prompt : judgement.prompts) {
    if (prompt.recommendedButtonLabel) labels.insert(*prompt.recommendedButtonLabel);
  }
  return labels;
}

bool CountedWindow::recommendsHazard() const {
  const auto labels = recommended();
  if (!window.hazards) return !labels.empty();
  return std::any_of(window.hazards->begin(), window.hazards->end(),
                     [&](const std::string& hazard) { return labels.contains(hazard); });
}

std::string CountedWindow::sign() const {
  for (const auto& seen : judgement.diagnosis.windows) {
    if (seen.snapshot && seen.snapshot->accepted == isTaken() && !seen.verdicts.empty()) {
      return seen.verdicts.front().sign;
    }
  }
  return "none";
}

std::vector<CountedWindow> countRecorded(const platform::PromptSupplement& supplement) {
  std::vector<CountedWindow> counted;
  for (auto& window : recordedWindows()) {
    platform::simulated::SimulatedWorld world{platform::simulated::Seed{7}};
    loadRecordedWindow(window.name, world);
    auto judgement = judge(world, supplement);
    counted.push_back({std::move(window), std::move(judgement)});
  }
  return counted;
}

std::vector<CountedWindow> countSamples(const platform::PromptSupplement& supplement) {
  std::vector<CountedWindow> counted;
  const auto judged = judgedSamples();
  for (std::size_t i = 0; i < judged.size(); ++i) {
    platform::simulated::SimulatedWorld world{platform::simulated::Seed{7}};
    openSampleWindow(sampleWindows()[i], world);
    counted.push_back({judged[i], judge(world, supplement)});
  }
  return counted;
}

std::string tableText(const std::string& title, const std::vector<CountedWindow>& windows) {
  std::string table = title + "\n                            windows    taken    wrong   marked  hazards\n";
  for (const bool isHeldBack : {false, true}) {
    for (const Kind kind : kAllKinds) {
      const auto count = countOf(windows, kind, isHeldBack);
      if (count.windows == 0) continue;
      table += row(nameOf(kind) + (isHeldBack ? ", held back" : ""), count, kind == Kind::secret);
    }
  }
  for (const auto& each : windows) {
    if (each.isRight()) continue;
    table += std::string("  ") + (each.isTaken() ? "wrongly taken: " : "missed: ") + each.window.name + " (" +
             each.sign() + ")\n";
  }
  return table;
}

}  // namespace quillard::golden
