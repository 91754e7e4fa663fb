#include <chrono>
#include <string>
#include <variant>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/VirtualTime.h"
#include "relay/ClockStamp.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using namespace std::chrono_literals;
using platform::simulated::Seed;

struct ClockStampTest : testing::Test {
  platform::simulated::VirtualTime time{Seed{1}};
  platform::simulated::SimulatedRandom random{Seed{1}};
  StampClock clock{time, random};
};

TEST_F(ClockStampTest, AStampIsAsOldAsTheTimeThatPassedSince) {
  const auto stamp = clock.now();
  EXPECT_EQ(clock.age(stamp), 0ms);
  time.advance(1500ms);
  EXPECT_EQ(clock.age(stamp), 1500ms);
}

TEST_F(ClockStampTest, SleepOfTheComputerCounts) {
  const auto stamp = clock.now();
  time.suspend(3600s);
  EXPECT_EQ(clock.age(stamp), 3600s);
}

TEST_F(ClockStampTest, TheWallClockDoesNotCount) {
  const auto stamp = clock.now();
  time.setWallClock(time.now() + std::chrono::hours{24});
  EXPECT_EQ(clock.age(stamp), 0ms);
}

TEST_F(ClockStampTest, AStampOfTheFutureHasNoAge) {
  auto stamp = clock.now();
  stamp.time += 1ms;
  EXPECT_EQ(clock.age(stamp), std::nullopt);
  stamp.time = kLatestStampTime;
  EXPECT_EQ(clock.age(stamp), std::nullopt);
}

TEST_F(ClockStampTest, AStampOfAnotherRunHasNoAge) {
  const StampClock otherRun{time, random};
  EXPECT_EQ(clock.age(otherRun.now()), std::nullopt);
  EXPECT_EQ(otherRun.age(clock.now()), std::nullopt);
}

std::variant<ClockStamp, std::string> read(const std::string& text) {
  const auto json = parseStrictJson(text);
  if (const auto* error = std::get_if<JsonError>(&json)) return error->description();
  JsonReader reader{std::get<Json>(json)};
  auto stamp = readClockStamp(reader);
  if (reader.error()) return reader.error()->description();
  return stamp;
}

TEST(ClockStampJson, IsReadAsItIsWritten) {
  const ClockStamp stamp{samples::uuid(42), 1234567890123ms};
  const auto text = *jsonText(toJson(stamp));
  EXPECT_EQ(text, R"({"epoch":"00000000-0000-0000-0000-00000000002A","time":1234567890123})");
  EXPECT_EQ(std::get<ClockStamp>(read(text)), stamp);
  EXPECT_EQ(std::get<ClockStamp>(read(*jsonText(toJson(ClockStamp{{}, kLatestStampTime})))).time, kLatestStampTime);
}

TEST(ClockStampJson, WhatIsNoStampIsRefused) {
  const std::string epoch = R"({"epoch":"00000000-0000-0000-0000-00000000002A","time":)";
  const std::vector<std::string> bad{
      "{}",
      "[]",
      epoch + "-1}",
      epoch + "0.5}",
      epoch + "1e400}",
      epoch + "NaN}",
      epoch + "9007199254740992}",
      epoch + "99999999999999999999}",
      epoch + "\"12\"}",
      epoch + "true}",
      epoch + "null}",
      epoch + "[1]}",
      R"({"epoch":"here","time":1})",
      R"({"epoch":7,"time":1})",
      R"({"epoch":null,"time":1})",
      R"({"time":1})",
      epoch + "1,\"time\":2}",
  };
  for (const auto& text : bad) EXPECT_TRUE(std::holds_alternative<std::string>(read(text))) << text;
}

}  // namespace
}  // namespace quillard
