#include <gtest/gtest.h>

#include "status/PhoneRows.h"

namespace quillard {
namespace {

PhoneLine line(const std::string& name, int pairing = 1) {
  return {.pairing = pairing, .name = name, .sinceSeconds = Seconds{90'000}, .heardSeconds = Seconds{7200}};
}

TEST(PhoneRows, SayWhoIsThereSinceWhenAndHowManyDecisions) {
  auto ann = line("Ann's phone");
  ann.isConnected = true;
  ann.decisions = 1;
  const auto rows = PhoneRows::rows({.phones = {ann, line("Ben's phone", 2)}});
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].title, "Ann's phone");
  EXPECT_EQ(rows[0].status, "Connected");
  EXPECT_EQ(rows[0].detail, "Paired 1 day ago, 1 decision.");
  ASSERT_TRUE(rows[0].secondaryButton);
  EXPECT_EQ(rows[0].secondaryButton->title, "Unpair…");
  EXPECT_EQ(rows[1].status, "Away");
  EXPECT_EQ(rows[1].detail, "Paired 1 day ago, last heard of 2 hours ago, 0 decisions.");
}

TEST(PhoneRows, PointOutAPhoneThatUsedAnothersCode) {
  auto mallory = line("Mallory");
  mallory.isConnected = true;
  mallory.isUnexpected = true;
  EXPECT_EQ(PhoneRows::rows({.phones = {mallory}}).front().status, "Used the Same Code");
}

TEST(PhoneRows, SayThatTheRelayRefusesAPairing) {
  MacStatusSnapshot snapshot;
  snapshot.phones = {line("Ann"), line("Ben", 2)};
  snapshot.phones[1].isRefused = true;
  const auto rows = PhoneRows::rows(snapshot);
  EXPECT_NE(rows.at(0).status, "Refused by Relay");
  EXPECT_EQ(rows.at(1).status, "Refused by Relay");
}

TEST(PhoneRows, SayHowManyHaveNoRow) {
  MacStatusSnapshot snapshot;
  for (int i = 0; i < 20; ++i) snapshot.phones.push_back(line("Phone " + std::to_string(i)));
  const auto rows = PhoneRows::rows(snapshot);
  ASSERT_EQ(rows.size(), kMostPhoneRows);
  EXPECT_EQ(rows.back().title, "9 more phones");
  EXPECT_FALSE(rows.back().secondaryButton);
}

TEST(PhoneRows, AskAboutOnePhoneOrAllThatShareItsCode) {
  const MacStatusSnapshot snapshot{.phones = {line("Ann", 1), line("Ben", 2), line("Cyd", 1), line("Dee", 1)}};
  const auto alone = PhoneRows::unpairQuestion(snapshot, 1);
  ASSERT_TRUE(alone);
  EXPECT_EQ(alone->pairing, 2);
  EXPECT_EQ(alone->question, "Unpair Ben?");
  EXPECT_EQ(alone->answer, "Unpair");
  const auto shared = PhoneRows::unpairQuestion(snapshot, 2);
  ASSERT_TRUE(shared);
  EXPECT_EQ(shared->pairing, 1);
  EXPECT_EQ(shared->question, "Cyd shares its code with 2 other phones. Unpair all?");
  EXPECT_EQ(shared->answer, "Unpair 3 Phones");
  EXPECT_FALSE(PhoneRows::unpairQuestion(snapshot, 4));
}

}  // namespace
}  // namespace quillard
