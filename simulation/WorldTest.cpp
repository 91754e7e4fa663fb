#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulation/World.h"
#include "support/LongTests.h"

// Whole worlds, and what must hold in each of them. To see one that broke: quillard-simulate --seed N.
namespace quillard::simulation {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

constexpr int kShards = 8;

std::vector<std::string> traceOf(std::uint64_t seed) {
  std::vector<std::string> lines;
  (void)live({.seed = seed, .length = Seconds{60}, .trace = [&](const std::string& line) { lines.push_back(line); }});
  return lines;
}

TEST(World, IsTheSameLineForLineFromTheSameSeed) {
  for (const std::uint64_t seed : {3U, 4U, 5U}) {
    const auto lines = traceOf(seed);
    EXPECT_GT(lines.size(), 20U);
    EXPECT_EQ(lines, traceOf(seed));
  }
  EXPECT_NE(traceOf(3), traceOf(4));
}

TEST(World, LivesTheSameWithAndWithoutATrace) {
  const auto quiet = live({.seed = 7, .length = Seconds{60}});
  const auto traced = live({.seed = 7, .length = Seconds{60}, .trace = [](const std::string&) {}});
  EXPECT_EQ(quiet.faults, traced.faults);
  EXPECT_EQ(quiet.answers, traced.answers);
  EXPECT_EQ(quiet.presses, traced.presses);
}

class Worlds : public testing::TestWithParam<int> {};

TEST_P(Worlds, KeepEveryInvariantUnderEveryFault) {
  const int worlds = test::rounds(250, 25'000);
  FaultCounts faults;
  std::map<std::string, std::size_t> answers;
  std::size_t presses = 0;
  std::size_t incompleteLists = 0;
  std::vector<std::string> broken;
  for (int i = 0; i < worlds; ++i) {
    const auto seed = static_cast<std::uint64_t>(i * kShards + GetParam() + 1);
    const auto outcome = live({.seed = seed});
    faults.add(outcome.faults);
    presses += outcome.presses;
    incompleteLists += outcome.incompleteLists;
    for (const auto& [status, count] : outcome.answers) answers[status] += count;
    if (outcome.broken) broken.push_back("Seed " + std::to_string(seed) + ": " + *outcome.broken);
  }
  EXPECT_THAT(broken, IsEmpty());
  for (std::size_t kind = 0; kind < kFaultKinds; ++kind) {
    EXPECT_GT(faults.count(kind), 0U) << kFaultNames[kind] << " never happened.";
  }
  for (const auto* status : {"accepted", "failed", "not_found", "requires_direct_access"}) {
    EXPECT_GT(answers[status], 0U) << "Worlds in which nothing is ever \"" << status << "\" show too little.";
  }
  EXPECT_GT(incompleteLists, 0U);
  EXPECT_GT(presses, static_cast<std::size_t>(worlds));
}

INSTANTIATE_TEST_SUITE_P(Shards, Worlds, testing::Range(0, kShards));

TEST(Faults, AreAtLeastForty) {
  EXPECT_GE(kFaultKinds, 40U);
  EXPECT_EQ(nameOf(Fault::applicationStarts), "applicationStarts");
}

}  // namespace
}  // namespace quillard::simulation
