#include "benchmarks/RatioReporter.h"

#include <cstdio>
#include <map>

#include <benchmark/benchmark.h>

namespace quillard::benchmarks {
namespace {

class CollectingReporter final : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const auto& run : runs) {
      if (run.iterations == 0) continue;
      figures[run.benchmark_name()] = run.real_accumulated_time / static_cast<double>(run.iterations);
      for (const auto& [counter, value] : run.counters) figures[run.benchmark_name() + ":" + counter] = value;
    }
  }

  void print(const Ratio& ratio) const {
    const auto slow = figures.find(ratio.slow);
    const auto fast = figures.find(ratio.fast);
    if (slow == figures.end() || fast == figures.end() || !(fast->second > 0)) return;
    std::printf("%-40s / %-40s = %7.2f   (%s)\n", ratio.slow.c_str(), ratio.fast.c_str(), slow->second / fast->second,
                ratio.meaning.c_str());
  }

 private:
  std::map<std::string, double> figures;  // Seconds of a turn of each, by name, and its counters: "name:counter".
};

}  // namespace

int runAndPrintRatios(int argc, char** argv, const std::vector<Ratio>& ratios) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  CollectingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  for (const auto& ratio : ratios) reporter.print(ratio);
  return 0;
}

}  // namespace quillard::benchmarks
