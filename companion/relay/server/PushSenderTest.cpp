#include <atomic>
#include <deque>
#include <fstream>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>

#include "companion/relay/server/PushSender.h"
#include "contract/support/TestAuthority.h"
#include "support/TemporaryFolder.h"

// The relay's own client of push services, over TLS on loopback, against a service whose bytes are the test's.
namespace quillard::relayserver {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using asio::ssl::context;

const std::string kCreated = "HTTP/1.1 201 Created\r\nContent-Length: 0\r\n\r\n";
const std::string kGone = "HTTP/1.1 410 Gone\r\nContent-Length: 0\r\n\r\n";

// Answers requests with what it was given, in that order, and keeps its connections.
class ScriptedService {
 public:
  ScriptedService(asio::io_context& loop, const test::ServerIdentity& identity)
      : tls(context::tls_server), acceptor(loop, tcp::endpoint(asio::ip::address_v4::loopback(), 0)) {
    tls.use_certificate_chain(asio::buffer(identity.certificate));
    tls.use_private_key(asio::buffer(identity.key), context::pem);
    accept();
  }

  std::deque<std::string> answers;
  std::string afterwards;  // Follows an answer, in a record of its own.
  int connections = 0;
  int written = 0;  // Answers, with what follows them.
  [[nodiscard]] tcp::endpoint endpoint() const { return acceptor.local_endpoint(); }

 private:
  struct Connection {
    Connection(tcp::socket socket, context& tls) : stream(std::move(socket), tls) {}
    asio::ssl::stream<tcp::socket> stream;
    std::string received;
    std::string answer;
  };

  void accept() {
    acceptor.async_accept([this](const auto& error, tcp::socket socket) {
      if (error) return;
      ++connections;
      auto one = std::make_shared<Connection>(std::move(socket), tls);
      one->stream.async_handshake(asio::ssl::stream_base::server, [this, one](const auto& failed) {
        if (!failed) read(one);
      });
      accept();
    });
  }
  // The bodies of these tests end with a dot, which stands nowhere else at the end of what is sent.
  void read(const std::shared_ptr<Connection>& one) {
    asio::async_read_until(one->stream, asio::dynamic_buffer(one->received), "body.",
                           [this, one](const auto& error, std::size_t bytes) {
                             if (error || answers.empty()) return;
                             one->received.erase(0, bytes);
                             one->answer = answers.front();
                             answers.pop_front();
                             asio::async_write(one->stream, asio::buffer(one->answer),
                                               [this, one](const auto&, std::size_t) { follow(one); });
                           });
  }
  void follow(const std::shared_ptr<Connection>& one) {
    asio::async_write(one->stream, asio::buffer(afterwards), [this, one](const auto&, std::size_t) {
      ++written;
      read(one);
    });
  }

  context tls;
  tcp::acceptor acceptor;
};

class PushSenderToAService : public testing::Test {
 protected:
  PushSenderToAService() : service(loop, authority.issue({.names = "DNS:push.test,DNS:hangs.test"})) {
    authorityFile = folder.path() + "/authority.pem";
    std::ofstream(authorityFile) << authority.certificate();
    make();
  }
  ~PushSenderToAService() override { release.set_value(); }

  void make(bool allowsPrivateAddresses = true) {
    sender.emplace(loop, limits,
                   PushSender::Options{.authority = authorityFile,
                                       .allowsPrivateAddresses = allowsPrivateAddresses,
                                       .resolve = [lookUps = lookUps, released = released, at = service.endpoint()](
                                                      const std::string& host, std::uint16_t) {
                                         ++*lookUps;
                                         if (host.starts_with("hangs")) released.wait();
                                         return NameLookup::Endpoints{at};
                                       }});
  }
  std::shared_ptr<std::optional<PushReply>> post(const std::string& host = "push.test") {
    const auto reply = std::make_shared<std::optional<PushReply>>();
    sender->post({.endpoint = PushEndpoint::parse("https://" + host + "/secret").value(),
                  .authorization = "vapid t=a, k=b",
                  .ttl = std::chrono::seconds(10),
                  .urgency = "high",
                  .topic = "",
                  .body = "body."},
                 [reply](const PushReply& came) { *reply = came; });
    return reply;
  }
  template <class Condition>
  bool runUntil(Condition isSo) {
    for (int turn = 0; turn < 2000 && !isSo(); ++turn) {
      loop.run_for(std::chrono::milliseconds(5));
      loop.restart();
    }
    return isSo();
  }
  // 0 also where none came.
  int statusOf(const std::string& host = "push.test") {
    const auto reply = post(host);
    EXPECT_TRUE(runUntil([&] { return reply->has_value(); }));
    return reply->value_or(PushReply{}).status;
  }

  std::promise<void> release;
  const std::shared_future<void> released = release.get_future().share();
  const std::shared_ptr<std::atomic<int>> lookUps = std::make_shared<std::atomic<int>>(0);
  quillard::test::TestAuthority authority;
  quillard::test::TemporaryFolder folder;
  std::string authorityFile;
  PushLimits limits;
  asio::io_context loop;
  ScriptedService service;
  std::optional<PushSender> sender;
};

TEST_F(PushSenderToAService, UsesAConnectionAgainAndLooksItsNameUpOnce) {
  service.answers = {kCreated, kGone};
  EXPECT_EQ(statusOf(), 201);
  EXPECT_EQ(statusOf(), 410);
  EXPECT_EQ(service.connections, 1);
  EXPECT_EQ(*lookUps, 1);
}

TEST_F(PushSenderToAService, TakesNothingThatFollowsAnAnswerForThatOfTheNextPush) {
  service.answers = {kCreated + kGone, kCreated};
  EXPECT_EQ(statusOf(), 201);
  EXPECT_EQ(statusOf(), 201);
  EXPECT_EQ(service.connections, 2);
}

TEST_F(PushSenderToAService, NorWhatComesOnAConnectionThatIsKept) {
  service.answers = {kCreated, kCreated};
  service.afterwards = kGone;
  EXPECT_EQ(statusOf(), 201);
  ASSERT_TRUE(runUntil([&] { return service.written == 1; }));
  EXPECT_EQ(statusOf(), 201);
  EXPECT_EQ(service.connections, 2);
}

TEST_F(PushSenderToAService, FollowsNoRedirect) {
  service.answers = {"HTTP/1.1 307 Elsewhere\r\nLocation: https://push.test/other\r\nContent-Length: 0\r\n\r\n"};
  EXPECT_EQ(statusOf(), 307);
  EXPECT_EQ(service.connections, 1);
}

TEST_F(PushSenderToAService, ConnectsToNoAddressThatItMayNot) {
  make(/*allowsPrivateAddresses=*/false);
  const auto reply = post();
  ASSERT_TRUE(runUntil([&] { return reply->has_value(); }));
  EXPECT_TRUE((*reply)->isAddressRefused);
  EXPECT_EQ(service.connections, 0);
}

TEST_F(PushSenderToAService, ANameThatHangsKeepsNoOtherWaiting) {
  std::vector<std::shared_ptr<std::optional<PushReply>>> hanging;
  for (int i = 0; i < 20; ++i) hanging.push_back(post("hangs.test"));
  service.answers = {kCreated};
  EXPECT_EQ(statusOf(), 201);
  for (const auto& reply : hanging) EXPECT_FALSE(reply->has_value());
  EXPECT_LE(*lookUps, 2) << "One for each name.";
}

TEST_F(PushSenderToAService, ANameThatHangsIsGivenUpInTime) {
  limits.attempt = std::chrono::seconds(0);
  make();
  const auto reply = post("hangs.test");
  ASSERT_TRUE(runUntil([&] { return reply->has_value(); }));
  EXPECT_EQ((*reply)->status, 0);
  EXPECT_FALSE((*reply)->isAddressRefused);
}

TEST_F(PushSenderToAService, EndsWhileANameHangs) {
  const auto reply = post("hangs.test");
  ASSERT_TRUE(runUntil([&] { return *lookUps == 1; }));
  sender.reset();  // It would wait for ever here: the name is found when the test is over.
  loop.poll();
  EXPECT_FALSE(reply->has_value());
}

}  // namespace
}  // namespace quillard::relayserver
