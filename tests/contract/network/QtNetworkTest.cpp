// The contract of the network against Qt's, with servers on this machine.

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <thread>

#include "contract/network/NetworkContract.h"
#include "contract/support/ScriptedServer.h"
#include "platform/qt/QtExecutors.h"
#include "platform/qt/QtHttpSessions.h"
#include "platform/qt/QtWebSockets.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {
namespace {

using namespace std::chrono_literals;

// Keeps what the newest client sends, and sends what the test asks it to.
class ControlledServer {
 public:
  [[nodiscard]] std::string url() const { return server.url("ws"); }

  void send(Opcode opcode, const std::string& payload) {
    std::unique_lock lock(mutex);
    waitForClient(lock);
    if (newest) newest->sendFrame(opcode, payload);
  }
  void drop() {
    std::unique_lock lock(mutex);
    waitForClient(lock);
    if (newest) newest->interrupt();
  }
  [[nodiscard]] std::vector<std::string> receivedTexts() {
    const std::lock_guard lock(mutex);
    return texts;
  }
  [[nodiscard]] std::optional<std::uint16_t> receivedCloseCode() {
    const std::lock_guard lock(mutex);
    return closeCode;
  }
  [[nodiscard]] bool hasEnded() {
    const std::lock_guard lock(mutex);
    return wasAccepted && !newest;
  }

 private:
  // The client may know that its connection is open before this thread goes on.
  void waitForClient(std::unique_lock<std::mutex>& lock) {
    accepted.wait_for(lock, kTimeout, [this] { return wasAccepted; });
  }
  void serve(ServerConnection& connection) {
    if (!connection.acceptWebSocket()) return;
    {
      const std::lock_guard lock(mutex);
      newest = &connection;
      wasAccepted = true;
    }
    accepted.notify_all();
    while (const auto frame = connection.readFrame()) keep(*frame, connection);
    const std::lock_guard lock(mutex);
    newest = nullptr;
  }
  void keep(const Frame& frame, ServerConnection& connection) {
    const std::lock_guard lock(mutex);
    if (frame.opcode == Opcode::text) texts.push_back(frame.payload);
    if (frame.opcode == Opcode::ping) connection.sendFrame(Opcode::pong, frame.payload);
    if (frame.opcode != Opcode::close || frame.payload.size() < 2) return;
    connection.sendFrame(Opcode::close, frame.payload.substr(0, 2));
    closeCode = static_cast<std::uint16_t>(static_cast<unsigned char>(frame.payload[0]) * 256 +
                                           static_cast<unsigned char>(frame.payload[1]));
  }

  std::mutex mutex;
  std::condition_variable accepted;
  ServerConnection* newest = nullptr;
  bool wasAccepted = false;
  std::vector<std::string> texts;
  std::optional<std::uint16_t> closeCode;
  ScriptedServer server{[this](ServerConnection& connection) { serve(connection); }};
};

// Answers with the status that the path names.
class StatusServer {
 public:
  [[nodiscard]] std::string url(const std::string& scheme, int status) const {
    return server.url(scheme, "/" + std::to_string(status));
  }
  [[nodiscard]] std::vector<std::string> requests() {
    const std::lock_guard lock(mutex);
    return received;
  }

 private:
  void serve(ServerConnection& connection) {
    const std::string head = connection.readHead();
    const std::size_t path = head.find(" /");
    const std::size_t length = head.find("Content-Length: ");
    if (path == std::string::npos) return;
    const auto size = length == std::string::npos ? 0UL : std::stoul(head.substr(length + 16));
    {
      const std::lock_guard lock(mutex);
      received.push_back(head.substr(0, path) + " " + (size > 0 ? connection.readBytes(size) : ""));
    }
    connection.write("HTTP/1.1 " + std::to_string(std::stoi(head.substr(path + 2))) +
                     " Reason\r\nContent-Length: 0\r\n\r\n");
  }

  std::mutex mutex;
  std::vector<std::string> received;
  ScriptedServer server{[this](ServerConnection& connection) { serve(connection); }};
};

class QtNetworkBinding final : public NetworkBinding {
 public:
  platform::SerialExecutor& executor() override { return *queue; }
  platform::WebSockets& webSockets() override { return sockets; }
  platform::HttpSessions& httpSessions() override { return sessions; }
  bool eventually(const std::function<bool()>& condition) override {
    const auto end = std::chrono::steady_clock::now() + 5s;
    while (!condition() && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(200us);
    return condition();
  }

  std::string webSocketUrl() override { return socketServer.url(); }
  void sendText(const std::string& text) override { socketServer.send(Opcode::text, text); }
  void sendBinary(const std::vector<std::uint8_t>& bytes) override {
    socketServer.send(Opcode::binary, std::string(bytes.begin(), bytes.end()));
  }
  void close(std::uint16_t code) override {
    socketServer.send(Opcode::close, {static_cast<char>(code >> 8U), static_cast<char>(code & 0xFFU)});
  }
  void drop() override { socketServer.drop(); }
  std::vector<std::string> receivedTexts() override { return socketServer.receivedTexts(); }
  std::optional<std::uint16_t> receivedCloseCode() override { return socketServer.receivedCloseCode(); }
  bool hasEnded() override { return socketServer.hasEnded(); }
  std::string refusingWebSocketUrl(int status) override { return statusServer.url("ws", status); }
  std::string silentWebSocketUrl() override { return silentServer.url("ws"); }

  std::vector<std::string> unusableAuthorityFiles() override {
    const std::string empty = folder.path() + "/empty.pem";
    const std::string prose = folder.path() + "/prose.pem";
    const std::string cutOff = folder.path() + "/cut-off.pem";
    const std::string endless = folder.path() + "/endless.pem";
    std::ofstream(empty).flush();
    std::ofstream(prose) << "My authority.\n";
    std::ofstream(cutOff) << "-----BEGIN CERTIFICATE-----\nMIIB";
    std::ofstream(endless) << std::string(1024 * 1024 + 1, '\n');
    return {"/no/such/file.pem", folder.path(), "/dev/zero", empty, prose, cutOff, endless};
  }
  std::string httpUrl(int status) override { return statusServer.url("http", status); }
  std::string silentHttpUrl() override { return silentServer.url("http"); }
  std::vector<std::string> httpRequests() override { return statusServer.requests(); }

 private:
  const TemporaryFolder folder;
  ControlledServer socketServer;
  StatusServer statusServer;
  ScriptedServer silentServer{[](ServerConnection& connection) {
    connection.readHead();
    connection.readBytes(1);
  }};
  const qt::TransportOptions options{};
  qt::QtExecutors executors;
  qt::QtNetworkThread network;
  qt::QtWebSockets sockets{network, options};
  qt::QtHttpSessions sessions{network};
  const std::unique_ptr<platform::SerialExecutor> queue =
      executors.makeSerialQueue("network", platform::QualityOfService::standard);
};

std::unique_ptr<NetworkBinding> makeQt() { return std::make_unique<QtNetworkBinding>(); }

}  // namespace

INSTANTIATE_TEST_SUITE_P(Qt, WebSocketTaskContract, testing::Values(&makeQt));
INSTANTIATE_TEST_SUITE_P(Qt, HttpSessionContract, testing::Values(&makeQt));

}  // namespace quillard::test
