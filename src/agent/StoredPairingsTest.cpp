#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/StoredPairings.h"
#include "platform/simulated/SimulatedUserDefaults.h"

namespace quillard {
namespace {

using platform::simulated::SimulatedUserDefaults;
using testing::ElementsAre;
using testing::IsEmpty;

using Texts = std::vector<std::string>;

struct StoredPairingsTest : testing::Test {
  SimulatedUserDefaults settings;
  StoredPairings stored{settings, 8};
};

TEST_F(StoredPairingsTest, ComeBackAsTheyWereWrittenDown) {
  const std::vector<StoredPairing> pairings{{.number = 2, .pairingID = "quillard-2"},
                                            {.number = 5, .mark = "?", .pairingID = "quillard-5"},
                                            {.number = 7, .mark = "!"}};
  stored.store(pairings);
  EXPECT_EQ(stored.all(), pairings);
  EXPECT_EQ(settings.object("quillard.further-pairings"), platform::UserDefaultsValue(Texts{"2", "5?", "7!"}))
      << "As older agents read it.";
}

TEST_F(StoredPairingsTest, LeaveNothingBehindWhenThereAreNone) {
  stored.store({{.number = 2, .pairingID = "quillard-2"}});
  stored.store({});
  EXPECT_THAT(settings.keys(), IsEmpty());
}

TEST_F(StoredPairingsTest, LoseOneAndKeepTheOthers) {
  stored.store({{.number = 2, .mark = "!", .pairingID = "quillard-2"}, {.number = 3, .pairingID = "quillard-3"}});
  stored.remove(2);
  EXPECT_THAT(stored.all(), ElementsAre(StoredPairing{.number = 3, .pairingID = "quillard-3"}));
  stored.remove(3);
  EXPECT_THAT(stored.all(), IsEmpty());
}

TEST_F(StoredPairingsTest, LeaveOutWhatIsNoneOfThem) {
  settings.set("quillard.further-pairings", Texts{"", "1", "9", "x", "2", "2!", "\xff", "3later"});
  EXPECT_THAT(stored.all(), ElementsAre(StoredPairing{.number = 2}, StoredPairing{.number = 3, .mark = "later"}));
}

TEST_F(StoredPairingsTest, AreNoneWhereTheSettingsHoldSomethingElse) {
  settings.set("quillard.further-pairings", std::string("2"));
  EXPECT_THAT(stored.all(), IsEmpty());
  settings.set("quillard.further-pairings", Texts{"2"});
  settings.set("quillard.further-pairing-names", std::string("2 quillard-2"));
  EXPECT_THAT(stored.all(), ElementsAre(StoredPairing{.number = 2}));
}

}  // namespace
}  // namespace quillard
