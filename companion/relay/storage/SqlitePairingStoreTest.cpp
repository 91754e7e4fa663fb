#include <fstream>

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include "companion/relay/storage/SqlitePairingStore.h"
#include "support/TemporaryFolder.h"

namespace quillard::relayserver {
namespace {

const std::string kToken(64, 'a');

class SqliteStore : public testing::Test {
 protected:
  const test::TemporaryFolder folder;
  const std::string file = folder.path() + "/relay.db";
};

TEST_F(SqliteStore, KeepsEverythingInAFileOfTheUsersOwn) {
  {
    SqlitePairingStore store(file);
    store.add("one", hashOf(kToken), 100);
    store.add("two", hashOf(kToken), 100);
    store.markUsed("one", 200);
    store.revoke("two", 300, 10);
  }
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  SqlitePairingStore store(file);
  EXPECT_EQ(store.find("one")->token, hashOf(kToken));
  EXPECT_EQ(store.find("one")->lastUsed, 200);
  ASSERT_TRUE(store.find("two"));
  EXPECT_FALSE(store.find("two")->token);
  EXPECT_FALSE(store.find("three"));
  EXPECT_EQ(store.count(), 1U);
}

TEST_F(SqliteStore, HoldsNoToken) {
  { SqlitePairingStore(file).add("one", hashOf(kToken), 100); }
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  EXPECT_NE(bytes.find("one"), std::string::npos);
  EXPECT_EQ(bytes.find(kToken), std::string::npos);
}

TEST_F(SqliteStore, ForgetsTheOldestRevocations) {
  SqlitePairingStore store(file);
  for (int i = 0; i < 3; ++i) store.revoke("r" + std::to_string(i), i, 2);
  EXPECT_FALSE(store.find("r0"));
  EXPECT_TRUE(store.find("r1"));
}

TEST_F(SqliteStore, PurgesPairingsThatWereNotUsed) {
  SqlitePairingStore store(file);
  store.add("old", hashOf(kToken), 100);
  store.add("new", hashOf(kToken), 101);
  EXPECT_EQ(store.purge(101, 0), std::vector<std::string>{"old"});
  EXPECT_FALSE(store.find("old"));
  EXPECT_TRUE(store.find("new"));
}

TEST_F(SqliteStore, RefusesFilesThatAreNotItsOwn) {
  const auto opens = [](const std::string& path) {
    try {
      const SqlitePairingStore store(path);
      return true;
    } catch (const PairingStore::Failure&) {
      return false;
    }
  };
  EXPECT_FALSE(opens(folder.path()));
  EXPECT_FALSE(opens(folder.path() + "/missing/relay.db"));
  std::ofstream(file) << "no database, but long enough to be recognised as none";
  ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
  EXPECT_FALSE(opens(file));
  const std::string shared = folder.path() + "/shared.db";
  { const SqlitePairingStore store(shared); }
  EXPECT_TRUE(opens(shared));
  ASSERT_EQ(::chmod(shared.c_str(), 0640), 0);
  EXPECT_FALSE(opens(shared));
  ASSERT_EQ(::chmod(shared.c_str(), 0600), 0);
  const std::string link = folder.path() + "/link.db";
  ASSERT_EQ(::symlink(shared.c_str(), link.c_str()), 0);
  EXPECT_FALSE(opens(link));
}

// As systemd has it for a service with a user of its own.
TEST_F(SqliteStore, OpensAFileInAFolderThatIsReachedByALink) {
  ASSERT_EQ(::mkdir((folder.path() + "/private").c_str(), 0700), 0);
  ASSERT_EQ(::symlink("private", (folder.path() + "/state").c_str()), 0);
  const std::string linked = folder.path() + "/state/relay.db";
  SqlitePairingStore store(linked);
  store.add("one", hashOf(kToken), 100);
  SqlitePairingStore::backUp(linked, folder.path() + "/state/copy.db");
  EXPECT_TRUE(SqlitePairingStore(folder.path() + "/private/copy.db").find("one"));
}

PushSubscription subscription(const std::string& deviceID, std::int64_t at = 1) {
  return {.deviceID = deviceID,
          .id = std::string(32, 'a'),
          .endpoint = "https://push.example/" + deviceID,
          .sealed = R"("encryptedSubscription":{})",
          .state = PushSubscription::State::refused,
          .at = at};
}

TEST_F(SqliteStore, KeepsSubscriptionsAndTheKeyForPushServices) {
  const std::string secret("a\0b", 3);
  {
    SqlitePairingStore store(file);
    EXPECT_FALSE(store.pushSecret());
    store.offerPushSecret(secret);
    store.offerPushSecret("another");
    store.add("one", hashOf(kToken), 100);
    store.keepPushSubscription("one", subscription("B", 1), 8);
    store.keepPushSubscription("one", subscription("A", 2), 8);
    store.keepPushSubscription("unknown", subscription("A"), 8);
    SqlitePairingStore::backUp(file, folder.path() + "/backup.db");
  }
  for (const auto& opened : {file, folder.path() + "/backup.db"}) {
    SqlitePairingStore store(opened);
    EXPECT_EQ(store.pushSecret(), secret);
    EXPECT_EQ(store.pushSubscriptions("one"), (std::vector{subscription("B", 1), subscription("A", 2)}));
    EXPECT_TRUE(store.pushSubscriptions("unknown").empty());
  }
}

TEST_F(SqliteStore, HasOneSubscriptionOfAPhoneAndTheNewestOfAPairing) {
  SqlitePairingStore store(file);
  store.add("one", hashOf(kToken), 100);
  for (int i = 0; i < 3; ++i)
    store.keepPushSubscription("one", subscription(std::string(1, static_cast<char>('A' + i)), i), 2);
  EXPECT_EQ(store.pushSubscriptions("one"), (std::vector{subscription("B", 1), subscription("C", 2)}));
  store.keepPushSubscription("one", subscription("B", 5), 2);
  EXPECT_EQ(store.pushSubscriptions("one"), (std::vector{subscription("C", 2), subscription("B", 5)}));
  store.erasePushSubscriptions("one", "C");
  EXPECT_EQ(store.pushSubscriptions("one"), std::vector{subscription("B", 5)});
  // Of the same second: the one that came last stays.
  store.keepPushSubscription("one", subscription("C", 5), 2);
  store.keepPushSubscription("one", subscription("A", 5), 2);
  EXPECT_EQ(store.pushSubscriptions("one"), (std::vector{subscription("A", 5), subscription("C", 5)}));
  store.erasePushSubscriptions("one", "A");
  store.erasePushSubscriptions("one", "");
  EXPECT_TRUE(store.pushSubscriptions("one").empty());
}

TEST_F(SqliteStore, ForgetsSubscriptionsWithTheirPhoneAndTheirPairing) {
  SqlitePairingStore store(file);
  const auto fill = [&](const std::string& pairing) {
    store.add(pairing, hashOf(kToken), 100);
    store.keepPushSubscription(pairing, subscription("A"), 8);
    store.keepPushSubscription(pairing, subscription("B"), 8);
  };
  const auto count = [&](const std::string& pairing) { return store.pushSubscriptions(pairing).size(); };
  for (const char* pairing : {"removed", "revoked", "purged", "unjoined", "kept"}) fill(pairing);
  store.erasePushSubscriptions("removed", "A");
  EXPECT_EQ(store.pushSubscriptions("removed"), std::vector{subscription("B")});
  store.revoke("revoked", 200, 10);
  for (const char* pairing : {"removed", "kept", "unjoined"}) store.markUsed(pairing, 1000);
  EXPECT_EQ(store.purge(500, 0), std::vector<std::string>{"purged"});
  store.markJoined("removed", 1000);
  store.markJoined("kept", 1000);
  EXPECT_TRUE(store.forgetOldestUnjoined());
  EXPECT_EQ(count("revoked") + count("purged") + count("unjoined"), 0U);
  EXPECT_EQ(count("kept"), 2U);
  EXPECT_TRUE(store.forgetLeastUsed(2000));
  EXPECT_TRUE(store.forgetLeastUsed(2000));
  EXPECT_EQ(count("kept") + count("removed"), 0U);
}

// What a version wrote, statement by statement: each did what those before it did, too.
constexpr int kEarlierVersions = 4;
void writeEarlierVersion(const std::string& file, int version) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  const std::string first = R"(
    PRAGMA journal_mode = WAL;
    CREATE TABLE pairings (id TEXT PRIMARY KEY, token BLOB NOT NULL, seen INTEGER NOT NULL) WITHOUT ROWID;
    CREATE INDEX pairings_by_seen ON pairings (seen);
    CREATE TABLE revocations (id TEXT PRIMARY KEY, at INTEGER NOT NULL) WITHOUT ROWID;
    CREATE INDEX revocations_by_time ON revocations (at);
    CREATE TABLE removed_phones (pairing TEXT NOT NULL, device TEXT NOT NULL, at INTEGER NOT NULL,
                                 PRIMARY KEY (pairing, device)) WITHOUT ROWID;
    PRAGMA user_version = 1;
    INSERT INTO pairings VALUES ('one', zeroblob(32), 100), ('two', zeroblob(32), 200);
    INSERT INTO revocations VALUES ('gone', 150);
    INSERT INTO removed_phones VALUES ('one', 'A', 120);
  )";
  const std::string second = R"(
    ALTER TABLE pairings ADD COLUMN joined INTEGER NOT NULL DEFAULT 1;
    CREATE INDEX unjoined_pairings ON pairings (seen) WHERE joined = 0;
    PRAGMA user_version = 2;
    INSERT INTO pairings (id, token, seen, joined) VALUES ('unjoined', zeroblob(32), 300, 0);
  )";
  const std::string third = R"(
    ALTER TABLE pairings ADD COLUMN computer BLOB;
    PRAGMA user_version = 3;
    UPDATE pairings SET computer = zeroblob(32) WHERE id = 'two';
  )";
  const std::string fourth = R"(
    CREATE TABLE push_secret (one INTEGER PRIMARY KEY CHECK (one = 1), secret BLOB NOT NULL);
    CREATE TABLE push_subscriptions (pairing TEXT NOT NULL, device TEXT NOT NULL, id TEXT NOT NULL,
                                     endpoint TEXT NOT NULL, sealed TEXT NOT NULL, state INTEGER NOT NULL,
                                     at INTEGER NOT NULL, PRIMARY KEY (pairing, device)) WITHOUT ROWID;
    CREATE TRIGGER subscriptions_go_with_pairings AFTER DELETE ON pairings BEGIN
      DELETE FROM push_subscriptions WHERE pairing = OLD.id; END;
    CREATE TRIGGER subscriptions_go_with_phones AFTER INSERT ON removed_phones BEGIN
      DELETE FROM push_subscriptions WHERE pairing = NEW.pairing AND device = NEW.device; END;
    PRAGMA user_version = 4;
    INSERT INTO push_subscriptions VALUES ('two', 'A', 'aa', 'https://push.example/1', '{}', 0, 100);
  )";
  const std::string sql =
      first + (version >= 2 ? second : "") + (version >= 3 ? third : "") + (version >= 4 ? fourth : "");
  ASSERT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(database);
  ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
}

std::string bytesOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST_F(SqliteStore, BringsAFileOfTheFirstVersionUpToDate) {
  ASSERT_NO_FATAL_FAILURE(writeEarlierVersion(file, 1));
  for (int opened = 0; opened < 2; ++opened) {
    SqlitePairingStore store(file);
    ASSERT_TRUE(store.find("one"));
    EXPECT_EQ(store.find("one")->token, TokenHash{});
    EXPECT_EQ(store.find("two")->lastUsed, 200);
    EXPECT_TRUE(store.find("one")->isJoined);
    EXPECT_FALSE(store.find("gone")->token);
    EXPECT_EQ(store.count(), 2U);
    EXPECT_EQ(store.countUnjoined(), 0U);
    EXPECT_TRUE(store.purge(50, 1000).empty());
    EXPECT_TRUE(store.pushSubscriptions("one").empty());
    store.keepPushSubscription("one", subscription("B"), 8);
    store.erasePushSubscriptions("one", "B");
    EXPECT_FALSE(store.pushSecret());
  }
  SqlitePairingStore store(file);
  store.add("three", hashOf(kToken), 300);
  EXPECT_FALSE(store.find("three")->isJoined);
}

TEST_F(SqliteStore, KeepsWhatEachEarlierVersionWrote) {
  for (int version = 1; version <= kEarlierVersions; ++version) {
    SCOPED_TRACE(version);
    const std::string name = file + "-" + std::to_string(version);
    ASSERT_NO_FATAL_FAILURE(writeEarlierVersion(name, version));
    for (int opened = 0; opened < 2; ++opened) {
      SqlitePairingStore store(name);
      EXPECT_EQ(store.count(), version >= 2 ? 3U : 2U);
      EXPECT_EQ(store.countUnjoined(), version >= 2 ? 1U : 0U);
      EXPECT_FALSE(store.find("one")->computerKey);
      EXPECT_EQ(store.find("two")->computerKey.has_value(), version >= 3);
      EXPECT_EQ(store.pushSubscriptions("two").size(), version >= 4 ? 1U : 0U);
      EXPECT_FALSE(store.find("gone")->token);
      EXPECT_FALSE(store.pushSecret());
    }
  }
}

TEST_F(SqliteStore, RefusesAFileOfALaterVersion) {
  { const SqlitePairingStore store(file); }
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database, "PRAGMA user_version = 99", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(database);
  EXPECT_THROW(SqlitePairingStore{file}, PairingStore::Failure);
}

TEST_F(SqliteStore, ChangesNothingInWhatItBacksUp) {
  ASSERT_NO_FATAL_FAILURE(writeEarlierVersion(file, 1));
  const auto before = bytesOf(file);
  const std::string copy = folder.path() + "/backup.db";
  SqlitePairingStore::backUp(file, copy);
  EXPECT_EQ(bytesOf(file), before);
  EXPECT_EQ(SqlitePairingStore(copy).find("two")->lastUsed, 200);
  EXPECT_THROW(SqlitePairingStore::backUp(folder.path() + "/missing.db", copy + "2"), PairingStore::Failure);
  EXPECT_NE(::access((folder.path() + "/missing.db").c_str(), F_OK), 0);
}

TEST_F(SqliteStore, KeepsTheFirstKeyOfAComputerAsLongAsThePairing) {
  {
    SqlitePairingStore store(file);
    store.add("one", hashOf(kToken), 100);
    EXPECT_FALSE(store.find("one")->computerKey);
    store.setComputerKey("one", hashOf("key"), 200);
    store.setComputerKey("one", hashOf("another"), 300);
  }
  SqlitePairingStore store(file);
  EXPECT_EQ(store.find("one")->computerKey, hashOf("key"));
  EXPECT_EQ(store.find("one")->lastUsed, 300);
  ASSERT_EQ(store.pairings().size(), 1U);
  EXPECT_EQ(store.pairings().front().entry.computerKey, hashOf("key"));
  store.revoke("one", 400, 10);
  EXPECT_FALSE(store.find("one")->computerKey);
}

TEST_F(SqliteStore, ForgetsWhatWasNotUsedForTheLongestTime) {
  SqlitePairingStore store(file);
  for (int i = 0; i < 3; ++i) store.add("p" + std::to_string(i), hashOf(kToken), 100 + i);
  store.markJoined("p0", 200);
  EXPECT_EQ(store.forgetLeastUsed(101), std::nullopt);
  EXPECT_EQ(store.forgetLeastUsed(102), "p1");
  EXPECT_FALSE(store.find("p1"));
  EXPECT_EQ(store.forgetLeastUsed(1000), "p2");
  EXPECT_EQ(store.forgetLeastUsed(1000), "p0");
  EXPECT_EQ(store.count(), 0U);
}

TEST_F(SqliteStore, FindsOutWhetherItCanBeWritten) {
  SqlitePairingStore store(file);
  store.add("one", hashOf(kToken), 100);
  store.probe();
  EXPECT_TRUE(store.find("one"));
  // Another writer is as good as a full disk: nothing can be written for longer than it waits.
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_THROW(store.probe(), PairingStore::Failure);
  EXPECT_TRUE(store.find("one"));
  sqlite3_close(other);
  store.probe();
}

TEST_F(SqliteStore, KnowsWhichPairingsNoClientHasJoined) {
  SqlitePairingStore store(file);
  for (int i = 0; i < 4; ++i) store.add("p" + std::to_string(i), hashOf(kToken), 100 + i);
  store.markJoined("p0", 200);
  EXPECT_TRUE(store.find("p0")->isJoined);
  EXPECT_EQ(store.find("p0")->lastUsed, 200);
  EXPECT_EQ(store.countUnjoined(), 3U);
  EXPECT_TRUE(store.forgetOldestUnjoined());
  EXPECT_FALSE(store.find("p1"));
  EXPECT_EQ(store.purge(0, 103), std::vector<std::string>{"p2"});
  EXPECT_TRUE(store.forgetOldestUnjoined());
  EXPECT_FALSE(store.forgetOldestUnjoined());
  EXPECT_EQ(store.count(), 1U);
}

// The service has a user of its own.
TEST_F(SqliteStore, OfAnotherUserIsBackedUpByRoot) {
  if (::geteuid() != 0) GTEST_SKIP() << "Only root can give a file to another user.";
  constexpr uid_t kOther = 65534;
  { SqlitePairingStore(file).add("one", hashOf(kToken), 100); }
  ASSERT_EQ(::chown(file.c_str(), kOther, kOther), 0);
  const std::string copy = folder.path() + "/backup.db";
  SqlitePairingStore::backUp(file, copy);
  EXPECT_TRUE(SqlitePairingStore(copy).find("one"));
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, kOther);
}

TEST_F(SqliteStore, ComesBackFromABackupThatWasMadeWhileItWasInUse) {
  const std::string copy = folder.path() + "/backup.db";
  SqlitePairingStore store(file);
  store.add("one", hashOf(kToken), 100);
  store.markJoined("one", 100);
  store.revoke("two", 300, 10);
  SqlitePairingStore::backUp(file, copy);
  EXPECT_THROW(SqlitePairingStore::backUp(file, copy), PairingStore::Failure);
  EXPECT_THROW(SqlitePairingStore::backUp(folder.path() + "/missing.db", copy + "2"), PairingStore::Failure);
  store.revoke("one", 400, 10);
  struct stat status {};
  ASSERT_EQ(::stat(copy.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  SqlitePairingStore restored(copy);
  EXPECT_EQ(restored.find("one")->token, hashOf(kToken));
  EXPECT_TRUE(restored.find("one")->isJoined);
  EXPECT_FALSE(restored.find("two")->token);
}

}  // namespace
}  // namespace quillard::relayserver
