#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "approvals/ApprovalSuppressionStore.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using samples::uuid;
using Texts = std::vector<std::string>;

class ApprovalSuppressionStoreTest : public testing::Test {
 protected:
  Texts stored() { return std::get<Texts>(*defaults.object(ApprovalSuppressionStore::key)); }

  platform::simulated::SimulatedUserDefaults defaults;
};

TEST_F(ApprovalSuppressionStoreTest, ContainsNothingOnEmptyDefaults) {
  EXPECT_FALSE(ApprovalSuppressionStore(defaults).contains(uuid(1)));
  EXPECT_FALSE(defaults.object("quillard.suppressed-approval-ids").has_value()) << "looking writes nothing";
}

TEST_F(ApprovalSuppressionStoreTest, SkipsEntriesThatAreNoIdentityAndDropsThemAtTheNextWrite) {
  defaults.set("quillard.suppressed-approval-ids", Texts{"nonsense", uuid(1).text()});
  ApprovalSuppressionStore store{defaults};
  EXPECT_TRUE(store.contains(uuid(1)));
  EXPECT_EQ(stored().size(), 2U);
  store.suppress(uuid(1));
  EXPECT_EQ(stored(), Texts{uuid(1).text()});
}

TEST_F(ApprovalSuppressionStoreTest, TakesAValueOfAnotherKindForNone) {
  defaults.set("quillard.suppressed-approval-ids", uuid(1).text());
  EXPECT_FALSE(ApprovalSuppressionStore(defaults).contains(uuid(1)));
}

TEST_F(ApprovalSuppressionStoreTest, KeepsOneEntryHoweverOftenItIsSuppressed) {
  ApprovalSuppressionStore store{defaults};
  store.suppress(uuid(1));
  store.suppress(uuid(1));
  EXPECT_EQ(stored(), Texts{uuid(1).text()});
  store.unsuppress(uuid(2));
  EXPECT_EQ(stored(), Texts{uuid(1).text()});
  store.unsuppress(uuid(1));
  EXPECT_EQ(stored(), Texts{});
  EXPECT_FALSE(store.contains(uuid(1)));
}

TEST_F(ApprovalSuppressionStoreTest, StoresTheTextsInAscendingOrder) {
  const auto high = *Uuid::parse("f0000000-0000-0000-0000-000000000000");
  const auto low = *Uuid::parse("0a000000-0000-0000-0000-000000000000");
  for (const bool highFirst : {true, false}) {
    ApprovalSuppressionStore store{defaults};
    store.suppress(highFirst ? high : low);
    store.suppress(highFirst ? low : high);
    EXPECT_EQ(stored(), (Texts{"0A000000-0000-0000-0000-000000000000", "F0000000-0000-0000-0000-000000000000"}));
  }
}

TEST_F(ApprovalSuppressionStoreTest, RemembersAcrossRestarts) {
  ApprovalSuppressionStore(defaults).suppress(uuid(1));
  EXPECT_TRUE(ApprovalSuppressionStore(defaults).contains(uuid(1)));
}

TEST_F(ApprovalSuppressionStoreTest, ForgetsWhatEarlierRunsMuted) {
  ApprovalSuppressionStore(defaults).suppress(uuid(1));
  defaults.set("quillard.suppressed-approval-ids", Texts{"nonsense", uuid(1).text()});
  ApprovalSuppressionStore store{defaults};
  store.forgetEarlierRuns();
  EXPECT_FALSE(store.contains(uuid(1)));
  EXPECT_EQ(stored(), Texts{});
  store.suppress(uuid(2));
  EXPECT_EQ(stored(), Texts{uuid(2).text()});
}

TEST_F(ApprovalSuppressionStoreTest, WritesNothingWhereThereIsNothingToForget) {
  ApprovalSuppressionStore(defaults).forgetEarlierRuns();
  EXPECT_FALSE(defaults.object("quillard.suppressed-approval-ids").has_value());
}

TEST_F(ApprovalSuppressionStoreTest, DropsTheOldestOfTooMany) {
  ApprovalSuppressionStore store{defaults};
  constexpr auto kMost = ApprovalSuppressionStore::kMost;
  for (std::uint64_t i = 1; i <= kMost; ++i) store.suppress(uuid(i));
  store.suppress(uuid(1));  // Again: now it is the newest.
  EXPECT_EQ(stored().size(), kMost);
  store.suppress(uuid(kMost + 1));
  EXPECT_EQ(stored().size(), kMost);
  EXPECT_TRUE(store.contains(uuid(1)));
  EXPECT_FALSE(store.contains(uuid(2)));
  EXPECT_TRUE(store.contains(uuid(3)));
  EXPECT_TRUE(store.contains(uuid(kMost + 1)));
  store.unsuppress(uuid(3));
  store.suppress(uuid(kMost + 2));
  EXPECT_TRUE(store.contains(uuid(4))) << "There was room again.";
}

TEST_F(ApprovalSuppressionStoreTest, TakesABoundedNumberFromTheSettings) {
  Texts many;
  for (std::uint64_t i = 1; i <= 3 * ApprovalSuppressionStore::kMost; ++i) many.push_back(uuid(i).text());
  many.insert(many.end(), many.begin(), many.end());
  defaults.set("quillard.suppressed-approval-ids", many);
  ApprovalSuppressionStore store{defaults};
  store.suppress(uuid(0));
  EXPECT_TRUE(store.contains(uuid(0)));
  EXPECT_EQ(stored().size(), ApprovalSuppressionStore::kMost);
}

TEST_F(ApprovalSuppressionStoreTest, MayBeAskedWhileAnotherThreadChangesIt) {
  ApprovalSuppressionStore store{defaults};
  store.suppress(uuid(0));
  std::thread writer{[&] {
    for (std::uint64_t i = 1; i < 200; ++i) store.suppress(uuid(i));
  }};
  bool alwaysThere = true;
  for (int i = 0; i < 200; ++i) alwaysThere = alwaysThere && store.contains(uuid(0));
  writer.join();
  EXPECT_TRUE(alwaysThere);
  EXPECT_EQ(stored().size(), 200U);
}

}  // namespace
}  // namespace quillard
