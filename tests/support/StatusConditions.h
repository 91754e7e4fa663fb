#pragma once

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "status/MacStatusSnapshot.h"

// Every combination of what a status snapshot can say, and tables that must answer each of them exactly once.
namespace quillard::test {

// Which conditions hold: a letter for each, large when it holds, small when it does not.
//   i installed   t accessibility trusted   e login item enabled   c relay configured   r relay connected
//   p a phone is present in any way   l phones are listed   f "phone connected"   n a phone is counted
//   x paused without end   u paused until a moment
struct Situation {
  MacStatusSnapshot snapshot;
  std::string conditions;
};

// `letter` as a condition that holds, or does not.
[[nodiscard]] inline char spelled(char letter, bool holds) {
  return holds ? static_cast<char>(std::toupper(static_cast<unsigned char>(letter))) : letter;
}

inline void forEachSituation(const std::function<void(const Situation&)>& visit) {
  static const std::vector<LoginItemStatus> logins{{LoginItemState::enabled, ""},
                                                   {LoginItemState::disabled, ""},
                                                   {LoginItemState::requiresApproval, ""},
                                                   LoginItemStatus::unavailable("Because.")};
  static const std::vector<std::vector<RelayPhoneStatus>> phoneLists{
      {},
      {{.deviceID = "1", .deviceName = "Ann's iPhone"}},
      {{.deviceID = "2", .deviceName = "Bob's iPhone", .connected = false},
       {.deviceID = "1", .deviceName = "Ann's iPhone"}}};
  for (unsigned bits = 0; bits < 128; ++bits) {
    const auto bit = [bits](unsigned index) { return (bits >> index & 1U) != 0; };
    for (const auto& login : logins) {
      for (const std::int64_t count : {-1, 0, 1, 3}) {
        for (const auto& phones : phoneLists) {
          Situation situation;
          auto& snapshot = situation.snapshot;
          snapshot.installedInApplications = bit(0);
          snapshot.accessibilityTrusted = bit(1);
          snapshot.loginItemStatus = login;
          snapshot.relayConfigured = bit(2);
          snapshot.relayConnected = bit(3);
          snapshot.phoneConnected = bit(4);
          snapshot.phoneCount = count;
          snapshot.connectedPhones = phones;
          snapshot.notificationPause.pausesIndefinitely = bit(5);
          if (bit(6)) snapshot.notificationPause.pausedUntil = Date{};
          auto& conditions = situation.conditions;
          conditions += spelled('i', bit(0));
          conditions += spelled('t', bit(1));
          conditions += spelled('e', login.state == LoginItemState::enabled);
          conditions += spelled('c', bit(2));
          conditions += spelled('r', bit(3));
          conditions += spelled('p', bit(4) || count == 1 || count == 3 || phones.size() == 1 || phones.size() == 2);
          conditions += spelled('l', phones.size() == 1 || phones.size() == 2);
          conditions += spelled('f', bit(4));
          conditions += spelled('n', count == 1 || count == 3);
          conditions += spelled('x', bit(5));
          conditions += spelled('u', bit(6));
          visit(situation);
        }
      }
    }
  }
}

// What a table holds for the conditions: each row names those that it depends on, and no two rows may fit.
template <class Answer>
struct Row {
  std::string_view conditions;
  Answer answer;
};

template <class Answer>
[[nodiscard]] std::optional<std::size_t> rowFor(const std::vector<Row<Answer>>& table, const std::string& conditions) {
  std::optional<std::size_t> found;
  for (std::size_t i = 0; i < table.size(); ++i) {
    const auto holds = [&](char letter) { return conditions.find(letter) != std::string::npos; };
    if (!std::all_of(table[i].conditions.begin(), table[i].conditions.end(), holds)) continue;
    EXPECT_FALSE(found.has_value()) << "two rows for " << conditions;
    found = i;
  }
  EXPECT_TRUE(found.has_value()) << "no row for " << conditions;
  return found;
}

// `actual` gives for each situation what the table says, and every row of the table is met.
template <class Answer>
void expectTable(const std::vector<Row<Answer>>& table, const std::function<Answer(const MacStatusSnapshot&)>& actual) {
  int situations = 0;
  std::vector<bool> isMet(table.size(), false);
  forEachSituation([&](const Situation& situation) {
    ++situations;
    const auto row = rowFor(table, situation.conditions);
    ASSERT_TRUE(row.has_value());
    isMet[*row] = true;
    EXPECT_EQ(actual(situation.snapshot), table[*row].answer) << situation.conditions;
  });
  EXPECT_EQ(situations, 128 * 4 * 4 * 3);
  for (std::size_t i = 0; i < table.size(); ++i) EXPECT_TRUE(isMet[i]) << "row " << table[i].conditions;
}

}  // namespace quillard::test
