#include <benchmark/benchmark.h>

#include "benchmarks/RatioReporter.h"
#include "detection/DialogPromptClassifier.h"
#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"
#include "support/DetectionWorld.h"

namespace quillard {
namespace {

using platform::simulated::ElementSpec;
using platform::simulated::NodeHandle;

// The evidence of a prompt with as many lines of some sixty letters.
DialogPromptEvidence evidence(std::int64_t lines) {
  DialogPromptEvidence evidence{
      .role = "AXWindow", .subrole = "AXDialog", .title = "“Notes” Would Like to Access Files"};
  for (std::int64_t i = 0; i < lines; ++i) {
    evidence.messageLines.push_back("Line " + std::to_string(i) +
                                    ": what you keep in this folder will be shown to it.");
  }
  evidence.buttonLabels = {"Don’t Allow", "Allow"};
  return evidence;
}

void classify(benchmark::State& state) {
  const auto facts = evidence(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(DialogPromptClassifier::classify(facts));
}

// A dialog of `count` descendants: texts, groups and two buttons.
NodeHandle openLargeDialog(samples::DetectionWorld& world, std::int64_t count) {
  ElementSpec window{.role = "AXWindow", .subrole = "AXDialog", .title = "Erase?", .frame = Rect{0, 0, 400, 300}};
  for (std::int64_t i = 0; i < count - 2; ++i) {
    window.children.push_back(i % 2 == 0 ? ElementSpec{.role = "AXGroup"}
                                         : ElementSpec{.role = "AXStaticText",
                                                       .value = "Line " + std::to_string(i),
                                                       .frame = Rect{0, static_cast<double>(i), 100, 16}});
  }
  for (const auto* label : {"Cancel", "Erase"}) {
    window.children.push_back({.role = "AXButton", .title = label, .frame = Rect{0, 250, 80, 24}});
  }
  return world.desktop().addWindow(world.desktop().launch({.name = "App"}), window);
}

void walkTree(benchmark::State& state) {
  samples::DetectionWorld world;
  const auto window = world.desktop().element(openLargeDialog(world, state.range(0)));
  for (auto _ : state) {
    const auto scope = world.world.accessibility().beginReadScope();
    benchmark::DoNotOptimize(AXHelpers::deeplyNestedChildren(*scope, window, 80));
  }
}

// A whole scan of a desktop with this one window: its reading, its verdict, its record.
void buildApproval(benchmark::State& state) {
  samples::DetectionWorld world;
  openLargeDialog(world, state.range(0));
  (void)world.detector.scan();
  for (auto _ : state) {
    const auto approvals = world.detector.scan().approvals;
    if (approvals.size() != 1) state.SkipWithError("The prompt was not found.");
  }
}

BENCHMARK(classify)->Arg(2)->Arg(8)->Arg(80);
BENCHMARK(walkTree)->Arg(40)->Arg(80);
BENCHMARK(buildApproval)->Arg(40)->Arg(80);

}  // namespace
}  // namespace quillard

int main(int argc, char** argv) {
  return quillard::benchmarks::runAndPrintRatios(
      argc, argv,
      {{"classify/8", "classify/2", "grows with the text: at most 4"},
       {"classify/80", "classify/8", "linear in the text: about 10"},
       {"buildApproval/80", "buildApproval/40", "linear in the elements: about 2"},
       {"buildApproval/80", "walkTree/80", "the record against the bare walk, simulated requests included"},
       {"buildApproval/80", "classify/8", "reading against deciding"}});
}
