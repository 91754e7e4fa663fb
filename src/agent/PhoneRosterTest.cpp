#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/PhoneRoster.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedUserDefaults;
using platform::simulated::VirtualTime;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kPairing = "quillard-1";
constexpr const char* kOther = "quillard-2";

RelayConnectionStatus present(const std::vector<std::string>& names) {
  RelayConnectionStatus status{
      .relayConnected = true, .phoneConnected = !names.empty(), .phoneCount = static_cast<std::int64_t>(names.size())};
  for (const auto& name : names) status.phones.push_back({.deviceID = "of-" + name, .deviceName = name});
  return status;
}

std::vector<std::string> namesOf(const std::vector<KnownPhone>& phones) {
  std::vector<std::string> names;
  for (const auto& phone : phones) names.push_back(phone.name + (phone.isConnected ? "" : " (away)"));
  return names;
}

struct PhoneRosterTest : testing::Test {
  void advance(double seconds) { time.advance(Seconds{seconds}); }
  std::vector<std::string> arrived(const std::string& pairing, const std::vector<std::string>& names) {
    return namesOf(roster.note(pairing, present(names)));
  }

  VirtualTime time{Seed{1}};
  SimulatedUserDefaults defaults;
  PhoneRoster roster{defaults, time};
};

TEST_F(PhoneRosterTest, SaysOnceThatAPhoneIsNew) {
  EXPECT_THAT(arrived(kPairing, {"Ann"}), ElementsAre("Ann"));
  EXPECT_THAT(arrived(kPairing, {"Ann"}), IsEmpty());
  EXPECT_THAT(arrived(kPairing, {}), IsEmpty());
  EXPECT_THAT(arrived(kPairing, {"Ann", "Ben"}), ElementsAre("Ben"));
  EXPECT_THAT(arrived(kOther, {"Ann"}), ElementsAre("Ann")) << "Of another pairing it is another phone.";
}

TEST_F(PhoneRosterTest, KnowsThemInTheNextRun) {
  arrived(kPairing, {"Ann"});
  const Date since = time.now();
  advance(3600);
  (void)roster.noteDecision(kPairing, false, roster.connectedPhones(kPairing));
  PhoneRoster next{defaults, time};
  ASSERT_EQ(next.phones().size(), 1U);
  const auto& phone = next.phones().front();
  EXPECT_EQ(phone.name, "Ann");
  EXPECT_LT(since - phone.since, Seconds{1}) << "Kept in whole seconds.";
  EXPECT_EQ(phone.decisions, 1);
  EXPECT_FALSE(phone.isConnected) << "Not known yet.";
  EXPECT_THAT(next.note(kPairing, present({"Ann"})), IsEmpty());
}

TEST_F(PhoneRosterTest, RemembersWhenAPhoneWasLastThere) {
  arrived(kPairing, {"Ann"});
  advance(300);
  const Date left = time.now();
  arrived(kPairing, {});
  advance(300);
  EXPECT_EQ(roster.phones().front().heardAt, left);
  EXPECT_THAT(namesOf(roster.phones()), ElementsAre("Ann (away)"));
}

TEST_F(PhoneRosterTest, WritesDownNowAndThenThatAPhoneIsThere) {
  arrived(kPairing, {"Ann"});
  const Date joined = roster.phones().front().heardAt;
  advance(599);
  roster.noteTime();
  EXPECT_EQ(roster.phones().front().heardAt, joined);
  advance(1);
  roster.noteTime();
  EXPECT_EQ(roster.phones().front().heardAt, time.now());
}

TEST_F(PhoneRosterTest, CountsDecisionsOfTheOnlyPhoneThatIsThere) {
  arrived(kPairing, {"Ann"});
  (void)roster.noteDecision(kPairing, false, roster.connectedPhones(kPairing));
  arrived(kPairing, {"Ann", "Ben"});
  (void)roster.noteDecision(kPairing, false, roster.connectedPhones(kPairing));
  EXPECT_EQ(roster.phones().front().decisions, 1);
  EXPECT_EQ(roster.phones().back().decisions, 0);
}

TEST_F(PhoneRosterTest, SaysTheFirstGrantOfAPhonesFirstHourOnce) {
  arrived(kPairing, {"Ann"});
  EXPECT_FALSE(roster.noteDecision(kPairing, /*isGrant=*/false, roster.connectedPhones(kPairing)));
  advance(3599);
  const auto granted = roster.noteDecision(kPairing, /*isGrant=*/true, roster.connectedPhones(kPairing));
  ASSERT_TRUE(granted);
  EXPECT_EQ(granted->phone.name, "Ann");
  EXPECT_TRUE(granted->isCertain);
  EXPECT_FALSE(roster.noteDecision(kPairing, /*isGrant=*/true, roster.connectedPhones(kPairing)));
  arrived(kOther, {"Ben"});
  advance(3600);
  EXPECT_FALSE(roster.noteDecision(kOther, /*isGrant=*/true, roster.connectedPhones(kOther))) << "No longer new.";
}

TEST_F(PhoneRosterTest, SaysTheFirstGrantOfAPhoneThatHasLeft) {
  arrived(kPairing, {"Ann"});
  const auto present = roster.connectedPhones(kPairing);
  (void)roster.note(kPairing, {});
  const auto granted = roster.noteDecision(kPairing, /*isGrant=*/true, present);
  ASSERT_TRUE(granted);
  EXPECT_EQ(granted->phone.name, "Ann");
  EXPECT_TRUE(granted->isCertain);
  EXPECT_EQ(roster.phones().front().decisions, 1);
}

TEST_F(PhoneRosterTest, SaysAFirstGrantOfWhichItIsNotKnownWhoseItWas) {
  arrived(kPairing, {"Ann", "Ben"});
  const auto ofSeveral = roster.noteDecision(kPairing, /*isGrant=*/true, roster.connectedPhones(kPairing));
  ASSERT_TRUE(ofSeveral);
  EXPECT_FALSE(ofSeveral->isCertain);
  arrived(kOther, {"Carl"});
  const auto ofNone = roster.noteDecision(kOther, /*isGrant=*/true, {});
  ASSERT_TRUE(ofNone);
  EXPECT_EQ(ofNone->phone.name, "Carl");
  EXPECT_FALSE(ofNone->isCertain);
  EXPECT_EQ(roster.phones().back().decisions, 0);
}

TEST_F(PhoneRosterTest, ForgetsThePhonesOfAPairingThatWasGivenUp) {
  arrived(kPairing, {"Ann"});
  arrived(kOther, {"Ben"});
  roster.forget(kPairing);
  EXPECT_THAT(namesOf(roster.phones()), ElementsAre("Ben"));
  EXPECT_THAT(namesOf(PhoneRoster(defaults, time).phones()), ElementsAre("Ben (away)"));
}

TEST_F(PhoneRosterTest, StaysSmallWhateverAPhoneCallsItself) {
  arrived(kPairing, {"Ann"});
  for (int i = 0; i < 1000; ++i) arrived(kOther, {"Mallory " + std::to_string(i)});
  EXPECT_EQ(roster.phonesOf(kOther).size(), PhoneRoster::kMostOfPairing);
  EXPECT_THAT(namesOf(roster.phonesOf(kPairing)), ElementsAre("Ann")) << "Phones of other pairings stay.";
}

TEST_F(PhoneRosterTest, ShowsNoNameThatIsEmptyOrMoreThanOneLine) {
  auto status = present({"a", "b", "c"});
  status.phones[0].deviceName = "";
  status.phones[1].deviceName = "a\nb";
  status.phones[2].deviceName = std::string(10'000, 'x');
  EXPECT_THAT(roster.note(kPairing, status), testing::SizeIs(3));
  for (const auto& phone : roster.phones()) {
    EXPECT_FALSE(phone.name.empty());
    EXPECT_LE(phone.name.size(), 130U);
    EXPECT_EQ(phone.name.find('\n'), std::string::npos);
  }
}

TEST_F(PhoneRosterTest, TakesARelayThatOnlyCountsForOnePhone) {
  EXPECT_THAT(namesOf(roster.note(kPairing, {.relayConnected = true, .phoneConnected = true, .phoneCount = 3})),
              ElementsAre("A phone"));
}

TEST_F(PhoneRosterTest, BeginsEmptyWhereTheSettingsCannotBeRead) {
  for (const std::string stored : {"", "{", "{\"phones\":1}", "{\"phones\":[{}]}", "[]", "\xFF"}) {
    defaults.set("quillard.paired-phones", std::vector<std::uint8_t>(stored.begin(), stored.end()));
    EXPECT_THAT(PhoneRoster(defaults, time).phones(), IsEmpty()) << stored;
  }
  defaults.set("quillard.paired-phones", true);
  EXPECT_THAT(PhoneRoster(defaults, time).phones(), IsEmpty());
}

}  // namespace
}  // namespace quillard
