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
