#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/StatusLines.h"
#include "platform/simulated/SimulatedWorld.h"
#include "relay/UserRelay.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
using samples::approval;
using samples::date;
using samples::uuid;
using testing::ElementsAre;
using testing::SizeIs;

TEST(StatusLines, SayHowLongAgoAPhoneJoinedAndWasHeardOf) {
  const KnownPhone away{.name = "Ann's phone", .since = date(0), .heardAt = date(70), .decisions = 4};
  auto here = away;
  here.isConnected = true;
  const auto lines = StatusLines::phones(
      {{.pairing = 2, .phone = away, .isRefused = true}, {.pairing = 3, .phone = here, .isUnexpected = true}},
      date(100));
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[0], (PhoneLine{.pairing = 2,
                                 .name = "Ann's phone",
                                 .sinceSeconds = Seconds{100},
                                 .heardSeconds = Seconds{30},
                                 .decisions = 4,
                                 .isRefused = true}));
  EXPECT_EQ(lines[1], (PhoneLine{.pairing = 3,
                                 .name = "Ann's phone",
                                 .sinceSeconds = Seconds{100},
                                 .heardSeconds = Seconds{0},
                                 .decisions = 4,
                                 .isConnected = true,
                                 .isUnexpected = true}));
}

TEST(StatusLines, SayHowLongAKindStaysMuted) {
  const SuppressedKind kind{.appName = "Disk Tool", .windowTitle = "Erase disk?"};
  const auto kinds = StatusLines::muted({{.id = uuid(1), .kind = kind, .since = date(0)},
                                         {.id = uuid(2), .kind = kind, .since = date(0), .until = date(60)},
                                         {.id = uuid(3), .kind = kind, .since = date(0), .until = date(5)}},
                                        date(10));
  ASSERT_THAT(kinds, SizeIs(3));
  EXPECT_EQ(kinds[0], (MutedKind{.id = uuid(1), .program = "Disk Tool", .title = "Erase disk?"}));
  EXPECT_EQ(kinds[1].remaining, Seconds{50});
  EXPECT_EQ(kinds[2].remaining, Seconds{0}) << "It has ended already.";
}

TEST(StatusLines, ListOfWhatWaitsOnlyWhatProgramsAsk) {
  auto asked = approval(2);
  asked.isAsked = true;
  const auto questions = StatusLines::questions({approval(1), asked});
  ASSERT_THAT(questions, SizeIs(1));
  EXPECT_EQ(questions[0].id, uuid(2));
  EXPECT_EQ(questions[0].program, "Disk Tool");
  EXPECT_EQ(questions[0].question, "Erase disk?");
  EXPECT_EQ(questions[0].lines, asked.messageLines);
  EXPECT_THAT(questions[0].labels, ElementsAre("Cancel", "Erase"));
}

TEST(StatusLines, NameTheRelayAndWhoChoseIt) {
  SimulatedWorld world{Seed{1}};
  auto platform = world.platform();
  PairingConfiguration configuration{{platform.environment, platform.bundle, platform.secretStore,
                                      platform.userDefaults, platform.random, platform.console}};
  EXPECT_EQ(StatusLines::relay(configuration), RelayChoice{});
  UserRelay::store("wss://relay.example/ws", platform.userDefaults);
  EXPECT_EQ(StatusLines::relay(configuration), (RelayChoice{"wss://relay.example/ws", RelayOrigin::user}));
}

}  // namespace
}  // namespace quillard
