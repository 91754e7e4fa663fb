#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include <sqlite3.h>

#include "companion/relay/storage/SqlitePairingStore.h"

// How the store's own sources run SQL.
namespace quillard::relayserver {

// A prepared statement with its values, for one run. `sql`: a constant; no other run of the same is under way.
class SqlitePairingStore::Statement {
 public:
  Statement(const SqlitePairingStore& store, const char* sql) : store(store) {
    auto& kept = store.statements[sql];
    if (!kept) {
      const int outcome =
          sqlite3_prepare_v3(store.connection.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
      kept.reset(statement);
      if (outcome != SQLITE_OK) store.fail("prepare");
    }
    statement = kept.get();
  }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement() {
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
  }

  Statement& with(const std::string& text) {
    return checked(sqlite3_bind_text(statement, ++bound, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT));
  }
  Statement& with(std::int64_t number) { return checked(sqlite3_bind_int64(statement, ++bound, number)); }
  Statement& with(const TokenHash& hash) {
    return checked(sqlite3_bind_blob(statement, ++bound, hash.data(), static_cast<int>(hash.size()), SQLITE_TRANSIENT));
  }

  // Whether there is a row; false at the end.
  bool step() {
    const int outcome = sqlite3_step(statement);
    if (outcome != SQLITE_ROW && outcome != SQLITE_DONE) store.fail("run");
    return outcome == SQLITE_ROW;
  }
  void run() {
    while (step()) {
    }
  }

  [[nodiscard]] std::int64_t number(int column) const { return sqlite3_column_int64(statement, column); }
  // Of text and of bytes.
  [[nodiscard]] std::string text(int column) const {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, column));
    return bytes ? std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))) : "";
  }
  [[nodiscard]] std::optional<TokenHash> optionalHash(int column) const {
    if (sqlite3_column_type(statement, column) == SQLITE_NULL) return std::nullopt;
    return hash(column);
  }
  [[nodiscard]] TokenHash hash(int column) const {
    const std::string bytes = text(column);
    TokenHash hash{};
    if (bytes.size() != hash.size()) throw Failure{"The database holds a token that is no hash."};
    std::copy(bytes.begin(), bytes.end(), hash.begin());
    return hash;
  }

 private:
  Statement& checked(int outcome) {
    if (outcome != SQLITE_OK) store.fail("bind");
    return *this;
  }

  const SqlitePairingStore& store;
  sqlite3_stmt* statement = nullptr;
  int bound = 0;
};

template <class Changes>
void SqlitePairingStore::inTransaction(Changes changes) {
  const auto begin = std::chrono::steady_clock::now();
  execute("BEGIN IMMEDIATE");
  try {
    changes();
    execute("COMMIT");
    waited += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  } catch (const Failure&) {
    sqlite3_exec(connection.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    throw;
  }
}

}  // namespace quillard::relayserver
