#include <benchmark/benchmark.h>

#include "approvals/ApprovalStore.h"
#include "approvals/PendingApprovalJson.h"
#include "benchmarks/RatioReporter.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/VirtualTime.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::simulated::Seed;

std::vector<PendingApproval> approvals(std::int64_t count) {
  std::vector<PendingApproval> list;
  for (std::int64_t i = 0; i < count; ++i) list.push_back(samples::approval(static_cast<std::uint64_t>(i) + 1));
  return list;
}

struct Store {
  platform::simulated::VirtualTime time{Seed{1}};
  platform::simulated::SimulatedRandom random{Seed{1}};
  ApprovalStore store{Seconds{8}, time, random};
};

void storeReplace(benchmark::State& state) {
  const auto list = approvals(state.range(0));
  Store world;
  world.store.replace(list);
  for (auto _ : state) world.store.replace(list);
}

void storeAll(benchmark::State& state) {
  Store world;
  world.store.replace(approvals(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(world.store.all());
}

void storeLookUp(benchmark::State& state) {
  Store world;
  world.store.replace(approvals(state.range(0)));
  const auto id = world.store.all().front().id;
  for (auto _ : state) benchmark::DoNotOptimize(world.store.approval(id));
}

void encodeList(benchmark::State& state) {
  const auto list = approvals(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(pendingApprovalsText(list));
}

void decodeList(benchmark::State& state) {
  const auto text = *pendingApprovalsText(approvals(state.range(0)));
  for (auto _ : state) {
    const auto list = readPendingApprovals(text);
    if (!std::holds_alternative<std::vector<PendingApproval>>(list)) state.SkipWithError("The list did not decode.");
    benchmark::DoNotOptimize(list);
  }
}

BENCHMARK(storeReplace)->Arg(1000)->Arg(10000);
BENCHMARK(storeAll)->Arg(1000)->Arg(10000);
BENCHMARK(storeLookUp)->Arg(1000)->Arg(10000);
BENCHMARK(encodeList)->Arg(10)->Arg(100);
BENCHMARK(decodeList)->Arg(10)->Arg(100);

}  // namespace
}  // namespace quillard

int main(int argc, char** argv) {
  return quillard::benchmarks::runAndPrintRatios(
      argc, argv,
      {{"storeReplace/10000", "storeReplace/1000", "linear: about 10, more where the caches end"},
       {"storeAll/10000", "storeAll/1000", "sorting: a little over 10"},
       {"storeLookUp/10000", "storeLookUp/1000", "hashed: about 1"},
       {"encodeList/100", "encodeList/10", "linear: about 10"},
       {"decodeList/100", "decodeList/10", "linear: about 10"},
       {"decodeList/100", "encodeList/100", "reading against writing"}});
}
