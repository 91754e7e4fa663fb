#include "companion/relay/storage/SqlitePairingStore.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include "companion/relay/storage/SqliteStatement.h"

namespace quillard::relayserver {
namespace {

constexpr int kSchemaVersion = 5;
constexpr int kTimeoutMilliseconds = 2'000;  // With a backup that reads at the same time.

// The first form; later ones are made of it step by step, so that there is one way to each.
constexpr const char* kFirstSchema = R"(
  CREATE TABLE pairings (id TEXT PRIMARY KEY, token BLOB NOT NULL, seen INTEGER NOT NULL) WITHOUT ROWID;
  CREATE INDEX pairings_by_seen ON pairings (seen);
  CREATE TABLE revocations (id TEXT PRIMARY KEY, at INTEGER NOT NULL) WITHOUT ROWID;
  CREATE INDEX revocations_by_time ON revocations (at);
  CREATE TABLE removed_phones (pairing TEXT NOT NULL, device TEXT NOT NULL, at INTEGER NOT NULL,
                               PRIMARY KEY (pairing, device)) WITHOUT ROWID;
  PRAGMA user_version = 1;
)";

// Whether a client has joined: of those that were there before, it is taken for granted.
constexpr const char* kSecondSchema = R"(
  ALTER TABLE pairings ADD COLUMN joined INTEGER NOT NULL DEFAULT 1;
  CREATE INDEX unjoined_pairings ON pairings (seen) WHERE joined = 0;
  PRAGMA user_version = 2;
)";

constexpr const char* kThirdSchema = R"(
  ALTER TABLE pairings ADD COLUMN computer BLOB;
  PRAGMA user_version = 3;
)";

// Subscriptions go with their pairing and their phone, whichever way these go.
constexpr const char* kFourthSchema = R"(
  CREATE TABLE push_secret (one INTEGER PRIMARY KEY CHECK (one = 1), secret BLOB NOT NULL);
  CREATE TABLE push_subscriptions (pairing TEXT NOT NULL, device TEXT NOT NULL, id TEXT NOT NULL,
                                   endpoint TEXT NOT NULL, sealed TEXT NOT NULL, state INTEGER NOT NULL,
                                   at INTEGER NOT NULL, PRIMARY KEY (pairing, device)) WITHOUT ROWID;
  CREATE TRIGGER subscriptions_go_with_pairings AFTER DELETE ON pairings BEGIN
    DELETE FROM push_subscriptions WHERE pairing = OLD.id; END;
  CREATE TRIGGER subscriptions_go_with_phones AFTER INSERT ON removed_phones BEGIN
    DELETE FROM push_subscriptions WHERE pairing = NEW.pairing AND device = NEW.device; END;
  PRAGMA user_version = 4;
)";

// Phones that were removed by the names that they had chosen: no agent ever had one removed.
constexpr const char* kFifthSchema = R"(
  DROP TRIGGER subscriptions_go_with_phones;
  DROP TABLE removed_phones;
  PRAGMA user_version = 5;
)";

[[noreturn]] void failForFile(const std::string& file, const std::string& why) {
  throw PairingStore::Failure{"The database " + file + " cannot be used: " + why};
}

// SQLite gives the files beside it the same permissions. `flags`: of open(2); O_CREAT makes the file where there is
// none.
void checkFile(const std::string& file, int flags) {
  const int descriptor = ::open(file.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (descriptor < 0) failForFile(file, std::strerror(errno));
  struct stat status {};
  const bool isKnown = ::fstat(descriptor, &status) == 0;
  ::close(descriptor);
  if (!isKnown || !S_ISREG(status.st_mode)) failForFile(file, "it is no file.");
  // Root makes backups of what belongs to the service's own user.
  if (status.st_uid != ::geteuid() && ::geteuid() != 0) failForFile(file, "it belongs to another user.");
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) failForFile(file, "others may use it; it must have mode 0600.");
}

// SQLite would refuse a link anywhere on the way, such as systemd makes of a service's /var/lib/NAME. Only the file
// itself must not be one.
std::string withoutLinksOnTheWay(const std::string& file) {
  const std::filesystem::path given(file);
  std::error_code error;
  const auto folder = std::filesystem::canonical(given.has_parent_path() ? given.parent_path() : ".", error);
  if (error) failForFile(file, error.message());
  return folder / given.filename();
}

}  // namespace

void SqlitePairingStore::Close::operator()(sqlite3* opened) const { sqlite3_close_v2(opened); }
void SqlitePairingStore::Close::operator()(sqlite3_stmt* prepared) const { sqlite3_finalize(prepared); }

SqlitePairingStore::SqlitePairingStore(const std::string& file) {
  checkFile(file, O_RDWR | O_CREAT);
  open(file, SQLITE_OPEN_READWRITE);
  try {
    execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA trusted_schema = OFF;");
    prepareSchema();
  } catch (const Failure& failure) {
    failForFile(file, failure.description);
  }
}

void SqlitePairingStore::open(const std::string& file, int flags) {
  const std::string path = withoutLinksOnTheWay(file);
  sqlite3* opened = nullptr;
  const int outcome =
      sqlite3_open_v2(path.c_str(), &opened, flags | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_NOMUTEX, nullptr);
  connection.reset(opened);
  if (outcome != SQLITE_OK) failForFile(file, sqlite3_errstr(outcome));
  sqlite3_busy_timeout(opened, kTimeoutMilliseconds);
}

SqlitePairingStore::~SqlitePairingStore() = default;

void SqlitePairingStore::fail(const char* what) const {
  throw Failure{std::string(sqlite3_errmsg(connection.get())) + " (" + what + ")"};
}

void SqlitePairingStore::execute(const char* sql) {
  if (sqlite3_exec(connection.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail("execute");
}

void SqlitePairingStore::prepareSchema() {
  inTransaction([this] {
    // A statement that has not ended keeps tables from being dropped.
    const auto found = [this] {
      Statement version(*this, "PRAGMA user_version");
      version.step();
      return version.number(0);
    }();
    if (found > kSchemaVersion) throw Failure{"a newer version has written it."};
    if (found < 1) execute(kFirstSchema);
    if (found < 2) execute(kSecondSchema);
    if (found < 3) execute(kThirdSchema);
    if (found < 4) execute(kFourthSchema);
    if (found < 5) execute(kFifthSchema);
  });
}

void SqlitePairingStore::backUp(const std::string& file, const std::string& copy) {
  checkFile(file, O_RDONLY);
  if (::access(copy.c_str(), F_OK) == 0) throw Failure{copy + " is there already."};
  SqlitePairingStore store;
  store.open(file, SQLITE_OPEN_READONLY);
  Statement(store, "VACUUM INTO ?").with(withoutLinksOnTheWay(copy)).run();
  if (::chmod(copy.c_str(), S_IRUSR | S_IWUSR) != 0) failForFile(copy, std::strerror(errno));
}

std::optional<PairingStore::Entry> SqlitePairingStore::find(const std::string& pairingID) {
  // One statement whatever there is; sorting its two rows would take as long as finding them.
  Statement found(*this,
                  "SELECT 1, at, NULL, 1, NULL FROM revocations WHERE id = ?1 UNION ALL "
                  "SELECT 0, seen, token, joined, computer FROM pairings WHERE id = ?1");
  std::optional<Entry> entry;
  for (found.with(pairingID); found.step();) {
    const bool isRevoked = found.number(0) == 1;
    if (entry && !isRevoked) continue;  // It is revoked, whatever else there is.
    entry = Entry{.token = isRevoked ? std::nullopt : std::optional(found.hash(2)),
                  .lastUsed = found.number(1),
                  .isJoined = found.number(3) != 0,
                  .computerKey = found.optionalHash(4)};
  }
  return entry;
}

void SqlitePairingStore::add(const std::string& pairingID, const TokenHash& token, std::int64_t now) {
  Statement(*this, "INSERT INTO pairings (id, token, seen, joined) VALUES (?, ?, ?, 0)")
      .with(pairingID)
      .with(token)
      .with(now)
      .run();
}

void SqlitePairingStore::setComputerKey(const std::string& pairingID, const TokenHash& key, std::int64_t now) {
  Statement(*this, "UPDATE pairings SET seen = ?2, computer = coalesce(computer, ?3) WHERE id = ?1")
      .with(pairingID)
      .with(now)
      .with(key)
      .run();
}

void SqlitePairingStore::markUsed(const std::string& pairingID, std::int64_t now) {
  Statement(*this, "UPDATE pairings SET seen = ?2 WHERE id = ?1").with(pairingID).with(now).run();
}

void SqlitePairingStore::markJoined(const std::string& pairingID, std::int64_t now) {
  Statement(*this, "UPDATE pairings SET seen = ?2, joined = 1 WHERE id = ?1").with(pairingID).with(now).run();
}

void SqlitePairingStore::revoke(const std::string& pairingID, std::int64_t now, std::size_t most) {
  inTransaction([&] {
    Statement(*this, "INSERT OR IGNORE INTO revocations (id, at) VALUES (?, ?)").with(pairingID).with(now).run();
    Statement(*this, "DELETE FROM pairings WHERE id = ?").with(pairingID).run();
    Statement(*this,
              "DELETE FROM revocations WHERE id IN "
              "(SELECT id FROM revocations ORDER BY at DESC, id LIMIT -1 OFFSET ?)")
        .with(static_cast<std::int64_t>(most))
        .run();
  });
}

std::vector<std::string> SqlitePairingStore::purge(std::int64_t usedBefore, std::int64_t unjoinedBefore) {
  std::vector<std::string> purged;
  inTransaction([&] {
    const auto purge = [&](const char* sql, std::int64_t before) {
      Statement old(*this, sql);
      old.with(before);
      while (old.step()) purged.push_back(old.text(0));
    };
    purge("DELETE FROM pairings WHERE seen < ? RETURNING id", usedBefore);
    purge("DELETE FROM pairings WHERE joined = 0 AND seen < ? RETURNING id", unjoinedBefore);
  });
  return purged;
}

bool SqlitePairingStore::forgetOldestUnjoined() {
  Statement oldest(*this,
                   "DELETE FROM pairings WHERE id = (SELECT id FROM pairings WHERE joined = 0 ORDER BY seen LIMIT 1) "
                   "RETURNING id");
  const bool isThere = oldest.step();
  while (isThere && oldest.step()) {
  }
  return isThere;
}

std::optional<std::string> SqlitePairingStore::forgetLeastUsed(std::int64_t usedBefore) {
  std::optional<std::string> forgotten;
  inTransaction([&] {
    Statement oldest(*this,
                     "DELETE FROM pairings WHERE id = (SELECT id FROM pairings WHERE seen < ? ORDER BY seen LIMIT 1) "
                     "RETURNING id");
    oldest.with(usedBefore);
    while (oldest.step()) forgotten = oldest.text(0);
  });
  return forgotten;
}

void SqlitePairingStore::probe() {
  // Writes the first page anew, as it was.
  const auto sql = "PRAGMA user_version = " + std::to_string(kSchemaVersion);
  inTransaction([&] { execute(sql.c_str()); });
}

std::size_t SqlitePairingStore::countUnjoined() {
  Statement counted(*this, "SELECT COUNT(*) FROM pairings WHERE joined = 0");
  counted.step();
  return static_cast<std::size_t>(counted.number(0));
}

std::size_t SqlitePairingStore::count() {
  Statement counted(*this, "SELECT COUNT(*) FROM pairings");
  counted.step();
  return static_cast<std::size_t>(counted.number(0));
}

std::vector<RelayDisk::Revocation> SqlitePairingStore::revocations() {
  std::vector<RelayDisk::Revocation> all;
  Statement found(*this, "SELECT id, at FROM revocations");
  while (found.step()) all.push_back({found.text(0), found.number(1)});
  return all;
}

std::vector<RelayDisk::Pairing> SqlitePairingStore::pairings() {
  std::vector<RelayDisk::Pairing> all;
  Statement found(*this, "SELECT id, token, seen, joined, computer FROM pairings");
  while (found.step()) {
    all.push_back({found.text(0),
                   {.token = found.hash(1),
                    .lastUsed = found.number(2),
                    .isJoined = found.number(3) != 0,
                    .computerKey = found.optionalHash(4)}});
  }
  return all;
}

void SqlitePairingStore::forgetPairings() { Statement(*this, "DELETE FROM pairings").run(); }

}  // namespace quillard::relayserver
