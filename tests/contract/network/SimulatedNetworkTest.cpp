// The contract of the network against the simulated one.

#include <chrono>

#include "contract/network/NetworkContract.h"
#include "platform/simulated/SimulatedHttpSessions.h"
#include "platform/simulated/SimulatedWebSockets.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard::test {
namespace {

using namespace platform::simulated;
using namespace std::chrono_literals;

class SimulatedNetworkBinding final : public NetworkBinding {
 public:
  SimulatedNetworkBinding() {
    sockets.onStart([this](const SimulatedWebSockets::ConnectionHandle& connection) {
      const std::string& url = connection->request().url;
      if (url == silentWebSocketUrl()) return;
      if (!url.starts_with(kRefusing)) return connection->accept();
      connection->refuse(std::stoi(url.substr(kRefusing.size())));
    });
    sessions.setServer([this](const platform::HttpRequest& request) -> std::optional<platform::HttpOutcome> {
      if (request.url == silentHttpUrl()) return std::nullopt;
      return platform::HttpResponse{std::stoi(request.url.substr(request.url.rfind('/') + 1))};
    });
  }

  platform::SerialExecutor& executor() override { return *queue; }
  platform::WebSockets& webSockets() override { return sockets; }
  platform::HttpSessions& httpSessions() override { return sessions; }
  bool eventually(const std::function<bool()>& condition) override {
    time.runUntilIdle();
    for (int i = 0; i < 5000 && !condition(); ++i) time.advance(1ms);
    return condition();
  }

  std::string webSocketUrl() override { return "ws://server.example/ws"; }
  void sendText(const std::string& text) override { sockets.newest()->sendText(text); }
  void sendBinary(const std::vector<std::uint8_t>& bytes) override { sockets.newest()->sendBinary(bytes); }
  void close(std::uint16_t code) override { sockets.newest()->close(code); }
  void drop() override { sockets.newest()->fail("The connection was lost."); }
  std::vector<std::string> receivedTexts() override { return sockets.newest()->receivedTexts(); }
  std::optional<std::uint16_t> receivedCloseCode() override { return sockets.newest()->sentCloseCode(); }
  bool hasEnded() override { return sockets.newest()->isEnded(); }
  std::string refusingWebSocketUrl(int status) override { return std::string(kRefusing) + std::to_string(status); }
  std::string silentWebSocketUrl() override { return "ws://silent.example/ws"; }

  std::vector<std::string> unusableAuthorityFiles() override { return {"/no/such/file.pem"}; }
  std::string httpUrl(int status) override { return "http://server.example/" + std::to_string(status); }
  std::string silentHttpUrl() override { return "http://silent.example/"; }
  std::vector<std::string> httpRequests() override {
    std::vector<std::string> texts;
    for (const auto& request : sessions.requests()) texts.push_back(request.method + " " + request.body);
    return texts;
  }

 private:
  static constexpr std::string_view kRefusing = "ws://refusing.example/";

  VirtualTime time{Seed{7}};
  const std::unique_ptr<platform::SerialExecutor> queue =
      time.makeSerialQueue("network", platform::QualityOfService::standard);
  SimulatedWebSockets sockets;
  SimulatedHttpSessions sessions;
};

std::unique_ptr<NetworkBinding> makeSimulated() { return std::make_unique<SimulatedNetworkBinding>(); }

// Of virtual time only: it takes longer than a test may wait.
TEST(SimulatedWebSockets, TheTimeoutIsForOpeningOnly) {
  SimulatedNetworkBinding binding;
  TaskClient client(binding, {.url = binding.webSocketUrl(), .timeout = Seconds{1}});
  ASSERT_TRUE(client.waitForOpen());
  binding.eventually([] { return false; });
  EXPECT_EQ(client.send("still open"), "");
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Simulated, WebSocketTaskContract, testing::Values(&makeSimulated));
INSTANTIATE_TEST_SUITE_P(Simulated, HttpSessionContract, testing::Values(&makeSimulated));

}  // namespace quillard::test
