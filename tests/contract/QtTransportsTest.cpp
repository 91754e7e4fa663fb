// The transports over Qt: the common contract, and what is this binding's own.

#include "contract/TransportContract.h"
#include "platform/qt/QtExecutors.h"
#include "platform/qt/QtHttpSessions.h"
#include "platform/qt/QtWebSockets.h"

namespace quillard::test {
namespace {

using qt::TransportOptions;

class QtTransports final : public TransportBinding {
 public:
  explicit QtTransports(const TransportSettings& settings) : options{settings.pingInterval, settings.silenceLimit} {}

  platform::SerialExecutor& executor() override { return *queue; }
  platform::WebSockets& webSockets() override { return sockets; }
  platform::HttpSessions& httpSessions() override { return sessions; }

 private:
  const TransportOptions options;
  qt::QtExecutors executors;
  qt::QtNetworkThread network;
  qt::QtWebSockets sockets{network, options};
  qt::QtHttpSessions sessions{network};
  const std::unique_ptr<platform::SerialExecutor> queue =
      executors.makeSerialQueue("transports", platform::QualityOfService::standard);
};

std::unique_ptr<TransportBinding> makeQt(const TransportSettings& settings) {
  return std::make_unique<QtTransports>(settings);
}

TEST(QtTransports, ShipWithPingsEveryTwentySecondsAndFortyOfSilence) {
  EXPECT_EQ(TransportOptions{}.pingInterval, Seconds{20});
  EXPECT_EQ(TransportOptions{}.silenceLimit, Seconds{40});
}

// A proxy that lets everything through to `server`, whatever it was asked for. What it was asked goes to `asked`.
Script tunnelTo(const std::string& answer, Awaited<std::string>& asked, const Script& inside) {
  return [&asked, answer, inside](ServerConnection& connection) {
    asked.set(connection.readHead());
    if (connection.write(answer)) inside(connection);
  };
}

class SystemProxy : public testing::Test {
 protected:
  static void use(const ScriptedServer& proxy) {
    setenv("http_proxy", proxy.url("http", "").c_str(), 1);
    setenv("https_proxy", proxy.url("http", "").c_str(), 1);
  }
  ~SystemProxy() override {
    unsetenv("http_proxy");
    unsetenv("https_proxy");
  }
  QtTransports binding{{}};
  Awaited<std::string> asked;
};

TEST_F(SystemProxy, CarriesWebSocketsThroughATunnel) {
  ScriptedServer proxy(tunnelTo("HTTP/1.1 200 Connection established\r\n\r\n", asked, [](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.sendFrame(Opcode::text, "through the tunnel");
    connection.waitForEnd();
  }));
  use(proxy);
  WebSocketClient client(binding, {.url = "ws://relay.example:8080/ws"});
  EXPECT_EQ(client.receiveText(), "through the tunnel");
  EXPECT_EQ(asked.get().value_or("").find("CONNECT relay.example:8080 "), 0U);
}

TEST_F(SystemProxy, CarriesRequestsThroughATunnel) {
  ScriptedServer proxy(tunnelTo("HTTP/1.1 200 Connection established\r\n\r\n", asked, [](ServerConnection& connection) {
    connection.readHead();
    connection.write("HTTP/1.1 204 No Content\r\n\r\n");
  }));
  use(proxy);
  EXPECT_EQ(statusOf(sendHttp(binding, {.method = "PUT", .url = "http://relay.example/"})), 204);
  EXPECT_EQ(asked.get().value_or("").find("CONNECT relay.example:80 "), 0U);
}

TEST_F(SystemProxy, ThatAsksForCredentialsIsAFailure) {
  ScriptedServer proxy(
      tunnelTo("HTTP/1.1 407 Proxy Authentication Required\r\nProxy-Authenticate: Basic realm=\"x\"\r\nContent-Length: "
               "0\r\n\r\n",
               asked, [](ServerConnection& connection) { connection.readBytes(1); }));
  use(proxy);
  WebSocketClient client(binding, {.url = "ws://relay.example/ws"});
  EXPECT_EQ(client.receiveError(), "The proxy asks for credentials.");
  EXPECT_EQ(errorOf(sendHttp(binding, {.method = "PUT", .url = "http://relay.example/"})),
            "The proxy asks for credentials.");
}

TEST_F(SystemProxy, IsNotUsedForThisMachineItself) {
  ScriptedServer proxy(tunnelTo("HTTP/1.1 200 Connection established\r\n\r\n", asked, [](ServerConnection&) {}));
  use(proxy);
  ScriptedServer server([](ServerConnection& connection) {
    connection.readHead();
    connection.write("HTTP/1.1 204 No Content\r\n\r\n");
  });
  EXPECT_EQ(statusOf(sendHttp(binding, {.method = "PUT", .url = server.url("http")})), 204);
  EXPECT_EQ(statusOf(sendHttp(binding, {.method = "PUT", .url = server.url("http", "/", "localhost")})), 204);
  EXPECT_EQ(proxy.accepted(), 0);
}

TEST(QtTransports, EndCleanlyWhileConnectionsAreOpenAndClosing) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.waitForEnd();
  });
  QtTransports binding{{}};
  WebSocketClient open(binding, {.url = server.url("ws")});
  WebSocketClient leaving(binding, {.url = server.url("ws")});
  WebSocketClient opening(binding, {.url = server.url("ws")});
  ASSERT_TRUE(open.waitForOpen());
  ASSERT_TRUE(leaving.waitForOpen());
  leaving.cancel(platform::WebSocketCloseCode::goingAway);
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Qt, WebSocketContract, testing::Values(&makeQt));
INSTANTIATE_TEST_SUITE_P(Qt, HttpContract, testing::Values(&makeQt));

}  // namespace quillard::test
