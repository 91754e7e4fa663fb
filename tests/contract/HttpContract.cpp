#include <chrono>
#include <string>

#include "contract/TransportContract.h"

namespace quillard::test {
namespace {

using platform::HttpOutcome;
using platform::HttpRequest;
using platform::NotHttpResponse;
using namespace std::chrono_literals;

HttpRequest registrationAt(const std::string& url, const std::string& authorityFile = {}) {
  return {.method = "PUT",
          .url = url,
          .headers = {{"content-type", "application/json"}, {"authorization", "Bearer " + std::string(kCanaryHeader)}},
          .body = R"({"client":"mac","version":1})",
          .timeout = 8s,
          .authorityFile = authorityFile};
}

std::string registrationPathWithCanary() { return "/api/pairings/p/relay-token?x=" + std::string(kCanaryQuery); }

Script respondWith(const std::string& response) {
  return [response](ServerConnection& connection) {
    connection.readHead();
    connection.write(response);
    connection.readBytes(1'000'000);
  };
}

TEST_P(HttpContract, SendsTheRequestAsAsked) {
  Awaited<std::string> head;
  Awaited<std::string> body;
  ScriptedServer server([&](ServerConnection& connection) {
    head.set(connection.readHead());
    body.set(connection.readBytes(28));
    connection.write("HTTP/1.1 204 No Content\r\n\r\n");
  });
  const auto binding = make();
  EXPECT_EQ(statusOf(sendHttp(*binding, registrationAt(server.url("http", registrationPathWithCanary())))), 204);
  const std::string sent = head.get().value_or("");
  EXPECT_EQ(sent.find("PUT " + registrationPathWithCanary() + " HTTP/1.1\r\n"), 0U) << sent;
  EXPECT_NE(sent.find("\r\nauthorization: Bearer " + std::string(kCanaryHeader) + "\r\n"), std::string::npos);
  EXPECT_NE(sent.find("\r\ncontent-type: application/json\r\n"), std::string::npos);
  EXPECT_NE(sent.find("\r\nContent-Length: 28\r\n"), std::string::npos);
  EXPECT_NE(sent.find("\r\nHost: 127.0.0.1:" + std::to_string(server.port()) + "\r\n"), std::string::npos);
  EXPECT_EQ(sent.find("Cookie"), std::string::npos);
  EXPECT_EQ(body.get(), R"({"client":"mac","version":1})");
}

TEST_P(HttpContract, GivesEveryStatusAsAResponseAndFollowsNothing) {
  const auto binding = make();
  for (const auto& [status, headers] : std::vector<std::pair<int, std::string>>{
           {200, "Content-Type: text/html\r\nContent-Length: 6\r\n\r\n<html>"},
           {204, "\r\n"},
           {302, "Location: http://127.0.0.1:1/elsewhere\r\n\r\n"},
           {401, "WWW-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n\r\n"},
           {407, "Proxy-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n\r\n"},
           {410, "Content-Length: 0\r\n\r\n"},
           {500, "Content-Length: 0\r\n\r\n"},
           {503, "Retry-After: 1\r\n\r\n"},
           {599, "\r\n"}}) {
    ScriptedServer server(respondWith("HTTP/1.1 " + std::to_string(status) + " Some Reason\r\n" + headers));
    EXPECT_EQ(statusOf(sendHttp(*binding, registrationAt(server.url("http")))), status);
    EXPECT_EQ(server.accepted(), 1) << status;
  }
}

TEST_P(HttpContract, DoesNotWaitForTheBody) {
  Awaited<bool> ended;
  ScriptedServer server([&](ServerConnection& connection) {
    connection.readHead();
    connection.write("HTTP/1.1 200 OK\r\nContent-Length: 1000000000\r\n\r\n");
    const std::string piece(100'000, 'x');
    std::size_t sent = 0;
    while (connection.write(piece)) sent += piece.size();
    ended.set(sent < 100'000'000);
  });
  const auto binding = make();
  EXPECT_EQ(statusOf(sendHttp(*binding, registrationAt(server.url("http")))), 200);
  EXPECT_EQ(ended.get(), true);
}

TEST_P(HttpContract, SendsNoCookieThatItWasGiven) {
  Awaited<std::string> head;
  ScriptedServer server([&](ServerConnection& connection) {
    head.set(connection.readHead());
    connection.write("HTTP/1.1 200 OK\r\nSet-Cookie: a=b\r\nCache-Control: max-age=1000\r\nContent-Length: 0\r\n\r\n");
  });
  const auto binding = make();
  EXPECT_EQ(statusOf(sendHttp(*binding, registrationAt(server.url("http")))), 200);
  EXPECT_EQ(statusOf(sendHttp(*binding, registrationAt(server.url("http")))), 200);
  EXPECT_EQ(head.get(1).value_or("Cookie").find("Cookie"), std::string::npos);
  EXPECT_EQ(server.accepted(), 2);
}

TEST_P(HttpContract, SaysSoWhenTheServerSpeaksSomethingElse) {
  const auto binding = make();
  for (const char* greeting : {"SSH-2.0-Nothing\r\n", "<html>hello</html>", "220 mail ready\r\n", "\x16\x03\x01"}) {
    ScriptedServer server(respondWith(greeting));
    EXPECT_TRUE(std::holds_alternative<NotHttpResponse>(sendHttp(*binding, registrationAt(server.url("http")))))
        << greeting;
  }
}

TEST_P(HttpContract, FailsWhenTheServerHangsUpBeforeItHasAnswered) {
  const auto binding = make();
  for (const char* beginning : {"", "HTTP/1.1 2", "HTTP/1.1 200 OK\r\nA: b\r\n"}) {
    ScriptedServer server([&](ServerConnection& connection) {
      connection.readHead();
      connection.write(beginning);
    });
    const std::string error =
        errorOf(sendHttp(*binding, registrationAt(server.url("http", registrationPathWithCanary()))));
    EXPECT_NE(error, "") << beginning;
    expectNoSecret(error);
    EXPECT_EQ(server.accepted(), 1) << "The request was repeated.";
  }
}

TEST_P(HttpContract, FailsWhenTheConnectionIsReset) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.readHead();
    connection.reset();
  });
  const auto binding = make();
  EXPECT_NE(errorOf(sendHttp(*binding, registrationAt(server.url("http")))), "");
}

TEST_P(HttpContract, FailsWhenNoServerListens) {
  const auto binding = make();
  const std::string url = "http://127.0.0.1:" + std::to_string(deadPort()) + registrationPathWithCanary();
  EXPECT_EQ(errorOf(sendHttp(*binding, registrationAt(url))), "The connection was refused.");
}

TEST_P(HttpContract, FailsOnRequestsThatCannotBeSent) {
  const auto binding = make();
  for (const char* url : {"", "ws://127.0.0.1/", "http://", "file:///etc/passwd", "http://a:b@127.0.0.1/"}) {
    EXPECT_EQ(errorOf(sendHttp(*binding, registrationAt(url))), "The address cannot be used.") << url;
  }
  HttpRequest request = registrationAt("http://127.0.0.1:" + std::to_string(deadPort()) + "/");
  request.headers.push_back({"a", "b\r\nInjected: c"});
  EXPECT_EQ(errorOf(sendHttp(*binding, request)), "The request's headers cannot be sent.");
  request = registrationAt(request.url);
  request.method = "PUT / HTTP/1.1\r\nX:";
  EXPECT_EQ(errorOf(sendHttp(*binding, request)), "The request's method cannot be sent.");
}

TEST_P(HttpContract, GivesUpOnHeadersThatAreSlow) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.readHead();
    connection.write("HTTP/1.1 200 OK\r\n");
    while (connection.write("A: b\r\n")) std::this_thread::sleep_for(5ms);
  });
  const auto binding = make();
  HttpRequest request = registrationAt(server.url("http"));
  request.timeout = 150ms;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(errorOf(sendHttp(*binding, request)), "The server did not answer in time.");
  EXPECT_GE(std::chrono::steady_clock::now() - start, 150ms);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

TEST_P(HttpContract, GivesUpOnHeadersWithoutEnd) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.readHead();
    connection.write("HTTP/1.1 200 OK\r\nA: ");
    while (connection.write(std::string(10'000, 'x'))) {
    }
  });
  const auto binding = make();
  EXPECT_NE(errorOf(sendHttp(*binding, registrationAt(server.url("http")))), "");
}

TEST_P(HttpContract, SpeaksTlsWithAServerThatIsVouchedForAndNoOther) {
  const TestAuthority authority;
  const AuthorityFile file(authority);
  const auto binding = make();
  {
    ScriptedServer server(respondWith("HTTP/1.1 204 No Content\r\n\r\n"), authority.issue());
    EXPECT_EQ(statusOf(sendHttp(*binding, registrationAt(server.url("https"), file.path()))), 204);
  }
  for (const auto& bad : badCertificates(authority)) {
    bool wasSpokenTo = false;
    std::string error;
    {
      ScriptedServer server([&](ServerConnection& connection) { wasSpokenTo = !connection.readHead().empty(); },
                            bad.identity);
      error =
          errorOf(sendHttp(*binding, registrationAt(server.url("https", registrationPathWithCanary()), file.path())));
    }
    EXPECT_EQ(error.find("The server's certificate was refused: "), 0U) << bad.name << ": " << error;
    expectNoSecret(error);
    EXPECT_FALSE(wasSpokenTo) << bad.name;
  }
}

TEST_P(HttpContract, ADestroyedSessionCancelsWithoutACompletion) {
  Awaited<bool> ended;
  ScriptedServer server([&](ServerConnection& connection) {
    connection.readHead();
    connection.readBytes(1'000'000);  // The body, and then the end.
    ended.set(true);
  });
  const auto binding = make();
  Awaited<bool> completed;
  const auto held = std::make_shared<int>(1);
  auto session = onExecutor(binding->executor(), [&] {
    auto made = binding->httpSessions().makeEphemeralSession(binding->executor());
    made->send(registrationAt(server.url("http")), [&completed, held](const HttpOutcome&) { completed.set(true); });
    return made;
  });
  while (server.accepted() == 0) std::this_thread::sleep_for(1ms);
  onExecutor(binding->executor(), [&] { session.reset(); });
  EXPECT_TRUE(ended.get().has_value());
  onExecutor(binding->executor(), [] {});
  EXPECT_EQ(completed.count(), 0U);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_P(HttpContract, ASessionMayBeDestroyedFromItsOwnCompletion) {
  ScriptedServer server(respondWith("HTTP/1.1 204 No Content\r\n\r\n"));
  const auto binding = make();
  Awaited<bool> gone;
  std::unique_ptr<platform::HttpSession> session;
  onExecutor(binding->executor(), [&] {
    session = binding->httpSessions().makeEphemeralSession(binding->executor());
    session->send(registrationAt(server.url("http")), [&](const HttpOutcome&) {
      session.reset();
      gone.set(true);
    });
  });
  EXPECT_TRUE(gone.get().has_value());
}

TEST_P(HttpContract, CarriesSeveralRequestsAtOnce) {
  ScriptedServer server([](ServerConnection& connection) {
    const std::string head = connection.readHead();
    connection.write("HTTP/1.1 2" + head.substr(std::string("PUT /").size(), 2) + " OK\r\n\r\n");
  });
  const auto binding = make();
  Awaited<int> statuses;
  std::unique_ptr<platform::HttpSession> session;
  onExecutor(binding->executor(), [&] {
    session = binding->httpSessions().makeEphemeralSession(binding->executor());
    for (const char* path : {"/01", "/02", "/03", "/04"}) {
      session->send(registrationAt(server.url("http", path)),
                    [&](const HttpOutcome& outcome) { statuses.set(statusOf(outcome)); });
    }
  });
  std::vector<int> got;
  for (std::size_t i = 0; i < 4; ++i) got.push_back(statuses.get(i).value_or(0));
  std::sort(got.begin(), got.end());
  EXPECT_EQ(got, (std::vector{201, 202, 203, 204}));
  onExecutor(binding->executor(), [&] { session.reset(); });
}

}  // namespace

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(HttpContract);

}  // namespace quillard::test
