#include "contract/process/LocalSocketsContract.h"

namespace quillard::test {

using platform::LocalConnection;
using platform::LocalConnectOutcome;

void LocalSocketsContract::Side::start() {
  connection->start({.onBytes = [this](std::string_view bytes) { received += bytes; }, .onEnd = [this] { ++ends; }});
}

std::unique_ptr<platform::LocalListener> LocalSocketsContract::listen(const std::string& name) {
  return binding->server().listen(name, [this](std::unique_ptr<LocalConnection> connection) {
    accepted.push_back(std::make_unique<Side>());
    accepted.back()->connection = std::move(connection);
    if (startsAccepted) accepted.back()->start();
  });
}

std::unique_ptr<LocalSocketsContract::Side> LocalSocketsContract::connect(const std::string& name) {
  auto result = binding->client().connect(name);
  if (!result.connection) return nullptr;
  auto side = std::make_unique<Side>();
  side->connection = std::move(result.connection);
  side->start();
  return side;
}

TEST_P(LocalSocketsContract, CarriesBytesBothWays) {
  const auto listener = listen();
  ASSERT_NE(listener, nullptr);
  const auto client = connect();
  ASSERT_NE(client, nullptr);
  client->connection->send("one ");
  client->connection->send(std::string("two\0", 4));
  ASSERT_TRUE(eventually([&] { return accepted.size() == 1 && accepted[0]->received.size() == 8; }));
  EXPECT_EQ(accepted[0]->received, std::string("one two\0", 8));
  accepted[0]->connection->send("three");
  EXPECT_TRUE(eventually([&] { return client->received == "three"; }));
  EXPECT_EQ(client->ends, 0);
}

TEST_P(LocalSocketsContract, SaysWhoConnected) {
  const auto listener = listen();
  const auto client = connect();
  ASSERT_TRUE(eventually([&] { return accepted.size() == 1; }));
  const auto& peer = accepted[0]->connection->peer();
  EXPECT_EQ(peer.process, binding->clientProcess());
  EXPECT_GT(peer.process.processIdentifier, 0);
  EXPECT_EQ(peer.process.executable.substr(0, 1), "/");
  EXPECT_TRUE(peer.process.executable.ends_with("/" + peer.process.programName)) << peer.process.programName;
  EXPECT_EQ(peer.process.workingFolder.substr(0, 1), "/");
}

TEST_P(LocalSocketsContract, TellsOfTheEndOnceAndAfterAllThatWasSent) {
  const auto listener = listen();
  auto client = connect();
  client->connection->send("last words");
  client.reset();
  ASSERT_TRUE(eventually([&] { return accepted.size() == 1 && accepted[0]->ends == 1; }));
  EXPECT_EQ(accepted[0]->received, "last words");
  accepted[0]->connection->send("to the void");
  const auto next = connect();
  next->connection->send("later");
  ASSERT_TRUE(eventually([&] { return accepted.size() == 2 && accepted[1]->received == "later"; }));
  EXPECT_EQ(accepted[0]->ends, 1);
}

TEST_P(LocalSocketsContract, TheListenersSideMayEndItAsWell) {
  const auto listener = listen();
  const auto client = connect();
  ASSERT_TRUE(eventually([&] { return accepted.size() == 1; }));
  accepted[0]->connection->send("no");
  accepted.clear();
  EXPECT_TRUE(eventually([&] { return client->ends == 1; }));
  EXPECT_EQ(client->received, "no");
}

TEST_P(LocalSocketsContract, WhatIsSentBeforeReadingBeginsWaits) {
  startsAccepted = false;
  const auto listener = listen();
  const auto client = connect();
  client->connection->send("early");
  ASSERT_TRUE(eventually([&] { return accepted.size() == 1; }));
  accepted[0]->start();
  EXPECT_TRUE(eventually([&] { return accepted[0]->received == "early"; }));
}

TEST_P(LocalSocketsContract, CarriesMoreThanFitsIntoOnePiece) {
  const auto listener = listen();
  const auto client = connect();
  std::string text;
  while (text.size() < 5 * LocalConnection::kLongestPiece) text += std::to_string(text.size()) + ",";
  client->connection->send(text);
  EXPECT_TRUE(eventually([&] { return accepted.size() == 1 && accepted[0]->received.size() == text.size(); }));
  EXPECT_EQ(accepted[0]->received, text);
  EXPECT_TRUE(eventually([&] { return client->connection->isAllSent(); }));
}

TEST_P(LocalSocketsContract, ConnectionEndsWhenTheOtherSideReadsNothing) {
  startsAccepted = false;
  const auto listener = listen();
  const auto client = connect();
  const std::string piece(LocalConnection::kLongestPiece, 'x');
  for (int i = 0; i < 64; ++i) client->connection->send(piece);
  EXPECT_TRUE(eventually([&] { return client->ends == 1; }));
}

TEST_P(LocalSocketsContract, CallbackMayDestroyItsConnection) {
  const auto listener = listen();
  auto client = connect();
  std::unique_ptr<LocalConnection> connection = std::move(client->connection);
  ASSERT_TRUE(eventually([&] { return accepted.size() == 1; }));
  auto other = binding->client().connect("contract.socket").connection;
  ASSERT_NE(other, nullptr);
  bool wasDestroyed = false;
  other->start({.onBytes =
                    [&](std::string_view) {
                      other.reset();
                      wasDestroyed = true;
                    },
                .onEnd = [] { ADD_FAILURE() << "after it was destroyed"; }});
  ASSERT_TRUE(eventually([&] { return accepted.size() == 2; }));
  accepted[1]->connection->send(std::string(3 * LocalConnection::kLongestPiece, 'x'));
  EXPECT_TRUE(eventually([&] { return wasDestroyed; }));
  EXPECT_TRUE(eventually([&] { return accepted[1]->ends == 1; }));
}

TEST_P(LocalSocketsContract, NothingIsThereWithoutAListener) {
  EXPECT_EQ(outcomeOf(), LocalConnectOutcome::absent);
  auto listener = listen();
  EXPECT_TRUE(binding->holds("contract.socket"));
  EXPECT_EQ(outcomeOf("another.socket"), LocalConnectOutcome::absent);
  listener.reset();
  EXPECT_FALSE(binding->holds("contract.socket"));
  EXPECT_EQ(outcomeOf(), LocalConnectOutcome::absent);
}

TEST_P(LocalSocketsContract, ConnectionsOutliveTheirListener) {
  auto listener = listen();
  const auto client = connect();
  ASSERT_TRUE(eventually([&] { return accepted.size() == 1; }));
  listener.reset();
  client->connection->send("still here");
  EXPECT_TRUE(eventually([&] { return accepted[0]->received == "still here"; }));
}

TEST_P(LocalSocketsContract, ReplacesWhatAnEndedProcessLeft) {
  binding->leaveSocketBehind("contract.socket");
  ASSERT_TRUE(binding->holds("contract.socket"));
  EXPECT_EQ(outcomeOf(), LocalConnectOutcome::absent);
  const auto listener = listen();
  EXPECT_NE(connect(), nullptr);
}

TEST_P(LocalSocketsContract, TheNewestListenerHasTheName) {
  auto older = listen();
  const auto newer = listen();
  ASSERT_NE(newer, nullptr);
  older.reset();
  EXPECT_TRUE(binding->holds("contract.socket")) << "an older listener removed what is a newer one's";
  EXPECT_NE(connect(), nullptr);
}

TEST_P(LocalSocketsContract, ClosesTheConnectionsThatAreTooMany) {
  const auto listener = listen();
  std::vector<std::unique_ptr<Side>> clients;
  for (std::size_t i = 0; i < platform::LocalSockets::kMostConnections; ++i) {
    clients.push_back(connect());
    ASSERT_NE(clients.back(), nullptr);
    ASSERT_TRUE(eventually([&] { return accepted.size() == i + 1; }));
  }
  const auto tooMany = connect();
  ASSERT_NE(tooMany, nullptr);
  EXPECT_TRUE(eventually([&] { return tooMany->ends == 1; }));
  EXPECT_EQ(accepted.size(), platform::LocalSockets::kMostConnections);
  accepted.erase(accepted.begin());
  ASSERT_TRUE(eventually([&] { return clients.front()->ends == 1; }));
  const auto next = connect();
  EXPECT_TRUE(eventually([&] { return accepted.size() == platform::LocalSockets::kMostConnections; }));
  EXPECT_EQ(next->ends, 0);
}

TEST_P(LocalSocketsContract, AcceptsNamesOfFilesOnly) {
  for (const char* const name : {"", ".", "..", "../socket", "/socket", "a/b"}) {
    EXPECT_EQ(listen(name), nullptr) << name;
    EXPECT_EQ(outcomeOf(name), LocalConnectOutcome::absent) << name;
  }
}

TEST_P(LocalSocketsContract, IsNotPossibleWhereTheFolderCannotBeUsed) {
  binding->makeFolderUnusable();
  EXPECT_EQ(listen(), nullptr);
  EXPECT_EQ(outcomeOf(), LocalConnectOutcome::absent);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LocalSocketsContract);

}  // namespace quillard::test
