#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/streambuf.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>

#include "companion/relay/rules/RelayWorld.h"
#include "companion/relay/server/EtcdStore.h"

// The store before a member of etcd that says what the test wants, when it wants. Against a real one:
// tests/contract.
namespace quillard::relayserver {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

// Knows no keys: every transaction is done at revision 1, of whoever shows the newest token.
class FakeMember {
 public:
  explicit FakeMember(asio::io_context& loop) : loop(loop), acceptor(loop, {asio::ip::address_v4::loopback(), 0}) {
    accept();
  }
  [[nodiscard]] PeerAddress address() const { return {"127.0.0.1", acceptor.local_endpoint().port()}; }
  // From now on earlier tokens are refused.
  void changeUsers() { ++validFrom; }

  std::chrono::milliseconds checkingTime{0};   // Of a password.
  std::chrono::milliseconds answeringTime{0};  // Of a transaction.
  int tokens = 0;                              // That were given.
  bool holds = false;  // Transactions are not answered; later they are, one by one, by `answerNext`.
  std::vector<std::function<void()>> held;
  void answerNext() {
    const auto next = held.front();
    held.erase(held.begin());
    next();
  }

 private:
  struct Client {
    explicit Client(tcp::socket socket) : socket(std::move(socket)) {}
    tcp::socket socket;
    asio::streambuf bytes;
  };
  void accept() {
    acceptor.async_accept([this](const ErrorCode& error, tcp::socket socket) {
      if (error) return;
      read(std::make_shared<Client>(std::move(socket)));
      accept();
    });
  }
  // Requests are small, and come whole.
  void read(const std::shared_ptr<Client>& client) {
    asio::async_read_until(client->socket, client->bytes, "}", [this, client](const ErrorCode& error, std::size_t) {
      if (error) return;
      const auto data = client->bytes.data();
      const std::string text(asio::buffers_begin(data), asio::buffers_end(data));
      client->bytes.consume(client->bytes.size());
      take(client, text);
    });
  }
  void take(const std::shared_ptr<Client>& client, const std::string& text) {
    if (text.starts_with("POST /v3/auth/authenticate ")) {
      auto timer = std::make_shared<asio::steady_timer>(loop, checkingTime);
      timer->async_wait([this, timer, client](const ErrorCode&) {
        ++tokens;
        answer(client, 200, "{\"token\":\"" + std::to_string(validFrom) + "\"}");
      });
      return;
    }
    const auto respond = [this, client, text] {
      const bool isValid = text.find("Authorization: " + std::to_string(validFrom) + "\r\n") != std::string::npos;
      if (isValid) return answerLater(client);
      answer(client, 401, R"({"error":"etcdserver: invalid auth token","code":16})");
    };
    if (!holds) return respond();
    held.emplace_back(respond);
  }
  void answerLater(const std::shared_ptr<Client>& client) {
    auto timer = std::make_shared<asio::steady_timer>(loop, answeringTime);
    timer->async_wait([this, timer, client](const ErrorCode&) {
      answer(client, 200, R"({"header":{"revision":"1"},"succeeded":true})");
    });
  }
  void answer(const std::shared_ptr<Client>& client, int status, const std::string& body) {
    auto text = std::make_shared<std::string>("HTTP/1.1 " + std::to_string(status) + " Said\r\nContent-Length: " +
                                              std::to_string(body.size()) + "\r\n\r\n" + body);
    asio::async_write(client->socket, asio::buffer(*text), [this, client, text](const ErrorCode& error, std::size_t) {
      if (!error) read(client);
    });
  }

  asio::io_context& loop;
  tcp::acceptor acceptor;
  int validFrom = 1;
};

class EtcdStoreWithUsers : public testing::Test {
 protected:
  // 1: done, 0: it is not known; -1: not answered yet.
  std::shared_ptr<int> transact() {
    auto result = std::make_shared<int>(-1);
    store->transact({}, [result](const std::optional<ClusterTransactionResult>& done) { *result = done ? 1 : 0; });
    return result;
  }
  template <class Condition>
  bool runUntil(Condition isSo) {
    const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!isSo() && std::chrono::steady_clock::now() < latest) loop.run_one_for(std::chrono::milliseconds(10));
    return isSo();
  }

  asio::io_context loop;
  KeptLog log;
  FakeMember member{loop};
  // `authentication`: see EtcdOptions.
  void open(std::chrono::milliseconds authentication) {
    store = std::make_unique<EtcdStore>(
        loop,
        EtcdOptions{
            .members = {member.address()}, .user = "relay", .password = "planned", .authentication = authentication},
        log);
  }
  std::unique_ptr<EtcdStore> store;
};

TEST_F(EtcdStoreWithUsers, KeepsANewTokenWhenAnEarlierOneIsRefusedLater) {
  open(std::chrono::seconds(10));
  const auto first = transact();
  ASSERT_TRUE(runUntil([&] { return *first == 1; }));
  member.holds = true;
  const auto one = transact();
  const auto other = transact();
  ASSERT_TRUE(runUntil([&] { return member.held.size() == 2; }));
  member.changeUsers();
  // They were asked with the old token, which is refused by then.
  member.holds = false;
  member.answerNext();
  ASSERT_TRUE(runUntil([&] { return *one == 1 || *other == 1; }));
  EXPECT_EQ(member.tokens, 2);
  member.answerNext();
  ASSERT_TRUE(runUntil([&] { return *one == 1 && *other == 1; }));
  EXPECT_EQ(member.tokens, 2);
}

TEST_F(EtcdStoreWithUsers, GivesAMemberThatIsBusyMoreTimeToCheckThePassword) {
  open(std::chrono::milliseconds(20));
  member.checkingTime = std::chrono::milliseconds(100);
  std::shared_ptr<int> result;
  // Whoever asks is told in time that it is not known, and asks again.
  EXPECT_TRUE(runUntil([&] {
    if (!result || *result == 0) result = transact();
    return *result == 1;
  }));
}

TEST_F(EtcdStoreWithUsers, GivesMembersThatAreAllBusyMoreTimeToAnswer) {
  open(std::chrono::seconds(10));
  member.answeringTime = std::chrono::milliseconds(1'000);
  const auto result = transact();
  EXPECT_TRUE(runUntil([&] { return *result != -1; }));
  EXPECT_EQ(*result, 1);
}

// ---- What is called back in a turn of its own

TEST_F(EtcdStoreWithUsers, CallsNobodyBackFromInsideACall) {
  // There is no time at all for the password: each call has failed before it returns.
  open(std::chrono::milliseconds(0));
  bool isInside = false;
  int toldOf = 0;
  std::function<void()> ask = [&] {
    const bool wasInside = std::exchange(isInside, true);
    store->transact({}, [&](const std::optional<ClusterTransactionResult>& done) {
      EXPECT_FALSE(isInside);
      EXPECT_FALSE(done);
      if (++toldOf <= 2) ask();
    });
    isInside = wasInside;
  };
  ask();
  ask();
  ASSERT_TRUE(runUntil([&] { return toldOf == 4; }));
}

TEST_F(EtcdStoreWithUsers, CallsNobodyBackAfterItsEndAlsoWhereThatWasPosted) {
  open(std::chrono::milliseconds(5));
  member.checkingTime = std::chrono::hours(1);
  int toldOf = 0;
  // Both fail together, each in a turn of its own. The first one ends the store.
  for (int i = 0; i < 2; ++i) {
    store->transact({}, [&](const std::optional<ClusterTransactionResult>&) {
      ++toldOf;
      store.reset();
    });
  }
  ASSERT_TRUE(runUntil([&] { return toldOf > 0; }));
  loop.run_for(std::chrono::milliseconds(50));
  EXPECT_EQ(toldOf, 1);
}

TEST_F(EtcdStoreWithUsers, CallsNobodyBackWhereTheAnswerComesAfterItsEnd) {
  open(std::chrono::seconds(10));
  const auto first = transact();
  ASSERT_TRUE(runUntil([&] { return *first == 1; }));
  member.holds = true;
  const auto late = transact();
  ASSERT_TRUE(runUntil([&] { return member.held.size() == 1; }));
  store.reset();
  member.holds = false;
  member.answerNext();
  loop.run_for(std::chrono::milliseconds(50));
  EXPECT_EQ(*late, -1);
}

TEST_F(EtcdStoreWithUsers, MayEndInsideACallBack) {
  open(std::chrono::seconds(10));
  member.answeringTime = std::chrono::milliseconds(10);
  bool isDone = false;
  store->transact({}, [&](const std::optional<ClusterTransactionResult>& done) {
    isDone = done.has_value();
    store.reset();
  });
  const auto other = transact();
  ASSERT_TRUE(runUntil([&] { return isDone; }));
  loop.run_for(std::chrono::milliseconds(50));
  EXPECT_EQ(*other, -1);
}

}  // namespace
}  // namespace quillard::relayserver
