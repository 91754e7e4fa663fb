#include <vector>

#include <gtest/gtest.h>

#include "app/AccessibleProcessList.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard::app {
namespace {

using platform::Seconds;
using Processes = std::vector<std::int32_t>;

class AccessibleProcessListTest : public testing::Test {
 protected:
  platform::simulated::VirtualTime time{platform::simulated::Seed{1}};
  Processes onBus{1, 2};
  int questions = 0;
  int changes = 0;
  AccessibleProcessList list{[this] {
                               ++questions;
                               return onBus;
                             },
                             time};
  platform::SubscriptionHandle subscription = list.observe([this] { ++changes; });
};

TEST_F(AccessibleProcessListTest, KnowsNothingBeforeItHasAsked) {
  EXPECT_TRUE(list.processIdentifiers().empty());
  list.refreshSoon();
  EXPECT_EQ(questions, 0);  // Nobody waits.
  time.runUntilIdle();
  EXPECT_EQ(list.processIdentifiers(), (Processes{1, 2}));
  EXPECT_EQ(changes, 1);
}

TEST_F(AccessibleProcessListTest, CanBeAskedAtOnce) {
  list.refreshNow();
  EXPECT_EQ(list.processIdentifiers(), (Processes{1, 2}));
}

TEST_F(AccessibleProcessListTest, AsksOnceForManyHints) {
  for (int i = 0; i < 10; ++i) list.refreshSoon();
  time.runUntilIdle();
  EXPECT_EQ(questions, 1);
}

TEST_F(AccessibleProcessListTest, TellsOfChangesOnly) {
  list.refreshSoon();
  time.runUntilIdle();
  list.refreshSoon();
  time.runUntilIdle();
  EXPECT_EQ(changes, 1);
  onBus = {2};
  list.refreshSoon();
  time.runUntilIdle();
  EXPECT_EQ(changes, 2);
  subscription.reset();
  onBus = {3};
  list.refreshSoon();
  time.runUntilIdle();
  EXPECT_EQ(changes, 2);
}

TEST_F(AccessibleProcessListTest, LooksByItselfNowAndThen) {
  time.advance(AccessibleProcessList::kInterval - Seconds{0.001});
  EXPECT_EQ(questions, 0);
  time.advance(Seconds{0.002});
  EXPECT_EQ(questions, 1);
}

}  // namespace
}  // namespace quillard::app
