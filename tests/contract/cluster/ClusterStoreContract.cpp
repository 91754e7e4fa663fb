#include "contract/cluster/ClusterStoreContract.h"

namespace quillard::test {

using relayserver::ClusterChange;
using relayserver::ClusterCondition;
using relayserver::ClusterEntry;
using relayserver::ClusterEvent;
using relayserver::ClusterReading;
using relayserver::ClusterTransaction;
using relayserver::ClusterTransactionResult;
using relayserver::LeaseNumber;
using relayserver::Revision;

std::optional<ClusterTransactionResult> ClusterStoreContract::transact(ClusterTransaction transaction, int client) {
  std::optional<std::optional<ClusterTransactionResult>> result;
  store(client).transact(std::move(transaction), [&](auto came) { result = std::move(came); });
  EXPECT_TRUE(binding->runUntil([&] { return result.has_value(); }));
  return result.value_or(std::nullopt);
}

Revision ClusterStoreContract::put(const std::string& key, const std::string& value, LeaseNumber lease) {
  const auto result = transact({.changes = {{.key = key, .value = value, .lease = lease}}});
  return result ? result->revision : 0;
}

std::optional<ClusterEntry> ClusterStoreContract::read(const std::string& key, int client) {
  const auto result = transact({.reads = {key}}, client);
  return result && !result->found.empty() ? std::optional(result->found.front()) : std::nullopt;
}

namespace {

struct KeptWatch {
  std::vector<ClusterEvent> events;
  bool isCompacted = false;
  bool hasEnded = false;
  relayserver::ClusterWatcher watcher() {
    return {.events = [this](const auto& came) { events.insert(events.end(), came.begin(), came.end()); },
            .compacted = [this] { isCompacted = true; },
            .ended = [this] { hasEnded = true; }};
  }
};

TEST_P(ClusterStoreContract, ReadsWhatWasPutAndNothingElse) {
  EXPECT_FALSE(read("a"));
  const std::string bytes("{\"x\":1}\0\xFF", 9);
  const Revision revision = put("a", bytes);
  EXPECT_GT(revision, 0);
  EXPECT_EQ(read("a"), (ClusterEntry{"a", bytes, revision}));
  EXPECT_EQ(read("a", 1), (ClusterEntry{"a", bytes, revision}));
  EXPECT_FALSE(read("aa"));
}

TEST_P(ClusterStoreContract, ChangesAllOrNothing) {
  const Revision first = put("a", "1");
  using Kind = ClusterCondition::Kind;
  const ClusterTransaction both{
      .conditions = {{.key = "a", .kind = Kind::modifiedAt, .modified = first}, {.key = "b", .kind = Kind::isAbsent}},
      .changes = {{.key = "a", .value = "2"}, {.key = "b", .value = "2"}},
      .reads = {"a", "b"}};
  const auto done = transact(both);
  ASSERT_TRUE(done);
  EXPECT_TRUE(done->succeeded);
  EXPECT_EQ(done->found, (std::vector<ClusterEntry>{{"a", "2", done->revision}, {"b", "2", done->revision}}));
  const auto again = transact(both);
  ASSERT_TRUE(again);
  EXPECT_FALSE(again->succeeded);
  EXPECT_EQ(again->found, done->found);
  EXPECT_EQ(again->revision, done->revision);
}

TEST_P(ClusterStoreContract, KnowsEachKindOfCondition) {
  using Kind = ClusterCondition::Kind;
  const Revision revision = put("there", "1");
  const auto holds = [&](ClusterCondition condition) {
    const auto result = transact({.conditions = {std::move(condition)}});
    return result && result->succeeded;
  };
  EXPECT_TRUE(holds({.key = "there", .kind = Kind::isThere}));
  EXPECT_FALSE(holds({.key = "gone", .kind = Kind::isThere}));
  EXPECT_TRUE(holds({.key = "gone", .kind = Kind::isAbsent}));
  EXPECT_FALSE(holds({.key = "there", .kind = Kind::isAbsent}));
  EXPECT_TRUE(holds({.key = "there", .kind = Kind::modifiedAt, .modified = revision}));
  EXPECT_FALSE(holds({.key = "there", .kind = Kind::modifiedAt, .modified = revision - 1}));
  EXPECT_TRUE(holds({.key = "gone", .kind = Kind::modifiedAt, .modified = 0}));
}

TEST_P(ClusterStoreContract, ErasesAKeyAndAllThatBeginSo) {
  for (const char* key : {"removed/a/1", "removed/a/2", "removed/ab/1", "pairing/a"}) put(key, "x");
  const auto result = transact({.changes = {{.kind = ClusterChange::Kind::erase, .key = "pairing/a"},
                                            {.kind = ClusterChange::Kind::erasePrefix, .key = "removed/a/"}}});
  ASSERT_TRUE(result && result->succeeded);
  std::optional<ClusterReading> all;
  store().readAll("", [&](auto reading) { all = reading; });
  ASSERT_TRUE(binding->runUntil([&] { return all.has_value(); }));
  ASSERT_EQ(all->entries.size(), 1U);
  EXPECT_EQ(all->entries.front().key, "removed/ab/1");
  EXPECT_EQ(all->revision, result->revision);
}

TEST_P(ClusterStoreContract, LetsOneOfTwoTakeAHome) {
  const Revision revision = put("home/p", "nobody");
  int takers = 0;
  int answers = 0;
  for (int client = 0; client < 2; ++client) {
    for (int i = 0; i < 5; ++i) {
      store(client).transact(
          {.conditions = {{.key = "home/p", .kind = ClusterCondition::Kind::modifiedAt, .modified = revision}},
           .changes = {{.key = "home/p", .value = std::to_string(client)}}},
          [&](const auto& result) {
            ++answers;
            takers += result && result->succeeded ? 1 : 0;
          });
    }
  }
  ASSERT_TRUE(binding->runUntil([&] { return answers == 10; }));
  EXPECT_EQ(takers, 1);
}

TEST_P(ClusterStoreContract, WatchesEveryChangeInOrderFromARevisionOn) {
  put("before", "x");
  const Revision first = put("a", "1");
  KeptWatch watch;
  store(1).watch(first, watch.watcher());
  const Revision second = put("a", "2");
  const auto third =
      transact({.changes = {{.kind = ClusterChange::Kind::erase, .key = "a"}, {.key = "b", .value = "3"}}});
  ASSERT_TRUE(third);
  ASSERT_TRUE(binding->runUntil([&] { return watch.events.size() >= 4; }));
  ASSERT_EQ(watch.events.size(), 4U);
  EXPECT_EQ(watch.events[0].value, "1");
  EXPECT_EQ(watch.events[0].modified, first);
  EXPECT_EQ(watch.events[1].value, "2");
  EXPECT_EQ(watch.events[1].modified, second);
  // In one revision their order is that of the changes.
  EXPECT_EQ(watch.events[2].key, "a");
  EXPECT_FALSE(watch.events[2].value);
  EXPECT_EQ(watch.events[3].key, "b");
  EXPECT_EQ(watch.events[3].modified, third->revision);
  EXPECT_FALSE(watch.hasEnded);
}

TEST_P(ClusterStoreContract, ReplacesAWatchByTheNextOne) {
  KeptWatch earlier;
  KeptWatch later;
  const Revision first = put("a", "1");
  store().watch(first + 1, earlier.watcher());
  store().watch(first + 1, later.watcher());
  put("a", "2");
  ASSERT_TRUE(binding->runUntil([&] { return !later.events.empty(); }));
  EXPECT_TRUE(earlier.events.empty());
}

TEST_P(ClusterStoreContract, SaysThatWhatAWatchAsksForWasCompacted) {
  const Revision first = put("a", "1");
  for (int i = 0; i < 5; ++i) put("a", std::to_string(i));
  binding->compact();
  KeptWatch watch;
  store().watch(first, watch.watcher());
  EXPECT_TRUE(binding->runUntil([&] { return watch.isCompacted; }));
  EXPECT_TRUE(watch.events.empty());
}

TEST_P(ClusterStoreContract, ErasesWhatALeaseHoldsWhenItIsNotKept) {
  std::optional<LeaseNumber> lease;
  store().takeLease(2, [&](auto taken) { lease = taken; });
  ASSERT_TRUE(binding->runUntil([&] { return lease.has_value(); }));
  const Revision revision = put("relay/a", "1", *lease);
  ASSERT_GT(revision, 0);
  std::optional<bool> isKept;
  store().keepLease(*lease, [&](auto kept) { isKept = kept; });
  ASSERT_TRUE(binding->runUntil([&] { return isKept.has_value(); }));
  EXPECT_TRUE(*isKept);
  KeptWatch watch;
  store(1).watch(revision + 1, watch.watcher());
  ASSERT_TRUE(binding->runUntil([&] { return !watch.events.empty(); }));
  EXPECT_EQ(watch.events.front().key, "relay/a");
  EXPECT_FALSE(watch.events.front().value);
  isKept.reset();
  store().keepLease(*lease, [&](auto kept) { isKept = kept; });
  ASSERT_TRUE(binding->runUntil([&] { return isKept.has_value(); }));
  EXPECT_FALSE(*isKept);
  // Nothing is put under a lease that has ended.
  EXPECT_FALSE(transact({.changes = {{.key = "relay/a", .value = "2", .lease = *lease}}}));
}

TEST_P(ClusterStoreContract, ReadsManyKeysAsOfOneRevision) {
  constexpr int kKeys = 4'500;
  constexpr int kAtOnce = 100;
  for (int i = 0; i < kKeys; i += kAtOnce) {
    ClusterTransaction transaction;
    for (int k = i; k < i + kAtOnce; ++k)
      transaction.changes.push_back({.key = "n/" + std::to_string(k), .value = "x"});
    ASSERT_TRUE(transact(std::move(transaction)));
  }
  std::optional<ClusterReading> all;
  store().readAll("n/", [&](auto reading) { all = reading; });
  ASSERT_TRUE(binding->runUntil([&] { return all.has_value(); }));
  EXPECT_EQ(all->entries.size(), static_cast<std::size_t>(kKeys));
  EXPECT_TRUE(std::is_sorted(all->entries.begin(), all->entries.end(),
                             [](const auto& one, const auto& other) { return one.key < other.key; }));
}

}  // namespace
}  // namespace quillard::test
