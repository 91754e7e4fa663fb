#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/network/WebSocket.h"

namespace quillard::platform::simulated {

// One connection as its server sees it: made -> started -> accepted -> ended, or ended from any of them. One that is
// not accepted within the request's timeout ends, and so does one to an address, or with a file, that cannot be used.
// What the server does reaches the client as later turns of the client's executor, in the order in which it was done;
// nothing reaches a client that has destroyed its task. Any thread.
class SimulatedWebSocketConnection : public std::enable_shared_from_this<SimulatedWebSocketConnection> {
 public:
  SimulatedWebSocketConnection(SerialExecutor& executor, WebSocketRequest request, std::function<void()> didOpen,
                               Seconds sendDelay, std::set<std::string> authorityFiles);

  // ---- The server's side.
  [[nodiscard]] const WebSocketRequest& request() const { return theRequest; }
  void accept();
  // A message that is longer than the request allows ends the connection.
  void sendText(std::string text);
  void sendBinary(std::vector<std::uint8_t> bytes);
  // The connection ends without or with a close code, unless it has ended before. The client receives what was sent to
  // it until then and the end after that. What the client was sending is lost, and its sends fail.
  void fail(std::string description);
  void close(std::uint16_t code);
  // Answers the opening request with this HTTP status instead. Not once it is accepted.
  void refuse(int statusCode);
  // Held sends neither arrive nor complete, until they are released.
  void holdSends();
  void releaseSends();
  // What is under way is lost and fails, but the connection goes on.
  void failSends(const std::string& description);

  // Takes each frame as it arrives, inside the turn in which it does; none is kept then.
  void setReceiver(std::function<void(const std::string&)> receiver);

  // Frames that arrived, oldest first.
  [[nodiscard]] std::vector<std::string> receivedTexts() const;
  [[nodiscard]] bool isAccepted() const;
  // Whether the server or the client ended it, or the client destroyed its task.
  [[nodiscard]] bool isEnded() const;
  // The code of the close message that the client sent. Absent: it sent none.
  [[nodiscard]] std::optional<std::uint16_t> sentCloseCode() const;

  // ---- The client's side, for its task alone.
  // False when the address or the file of authorities cannot be used: nothing is to reach a server then.
  [[nodiscard]] bool start();
  void receive(std::function<void(WebSocketReceipt)> completion);
  void sendFromClient(std::string text, std::function<void(std::optional<TransportError>)> completion);
  void cancel(WebSocketCloseCode code);
  void abandon();

 private:
  struct Send {
    std::string text;
    std::function<void(std::optional<TransportError>)> completion;
    TaskHandle arrival;  // Empty while held.
  };

  // Runs `turn` later, unless the client has destroyed its task by then.
  void post(Turn turn);
  void sendToClient(WebSocketMessage message, std::size_t length);
  void deliver() QUILLARD_REQUIRES(mutex);
  void arrive(std::uint64_t number);
  void letArriveLater(std::uint64_t number, Send& send) QUILLARD_REQUIRES(mutex);
  void loseSends(const std::string& description) QUILLARD_REQUIRES(mutex);
  void end(WebSocketEnd why) QUILLARD_REQUIRES(mutex);

  SerialExecutor& executor;
  const WebSocketRequest theRequest;
  const std::function<void()> didOpen;
  const Seconds sendDelay;
  const std::set<std::string> authorityFiles;  // Those that there are.
  mutable Mutex mutex;
  std::deque<WebSocketMessage> inbox QUILLARD_GUARDED_BY(mutex);
  std::function<void(WebSocketReceipt)> pendingReceive QUILLARD_GUARDED_BY(mutex);
  std::map<std::uint64_t, Send> sends QUILLARD_GUARDED_BY(mutex);  // Under way, by age.
  std::uint64_t sendCount QUILLARD_GUARDED_BY(mutex) = 0;
  std::vector<std::string> arrived QUILLARD_GUARDED_BY(mutex);
  std::function<void(const std::string&)> receiver QUILLARD_GUARDED_BY(mutex);  // Empty: frames are kept.
  std::optional<std::uint16_t> clientCloseCode QUILLARD_GUARDED_BY(mutex);
  bool accepted QUILLARD_GUARDED_BY(mutex) = false;
  TaskHandle openingTimeout QUILLARD_GUARDED_BY(mutex);  // Empty unless started and neither accepted nor ended.
  std::optional<WebSocketEnd> ended QUILLARD_GUARDED_BY(mutex);
  bool isHolding QUILLARD_GUARDED_BY(mutex) = false;
  bool isAbandoned QUILLARD_GUARDED_BY(mutex) = false;
};

// The network of WebSockets, and the one server behind it, which the test controls. Any thread.
class SimulatedWebSockets final : public WebSockets {
 public:
  using ConnectionHandle = std::shared_ptr<SimulatedWebSocketConnection>;

  // Called as a connection starts, inside that call. Without it, connections wait for the test to accept them.
  void onStart(std::function<void(const ConnectionHandle&)> listener);
  // From now on there is a file of authorities at this path. A connection over TLS that names another one fails.
  void addAuthorityFile(std::string path);
  // How long frames of the client take from now on, in connections that are made later. Zero at first: one turn.
  void setSendDelay(Seconds delay);

  // All that were ever made, oldest first.
  [[nodiscard]] std::vector<ConnectionHandle> connections() const;
  // The newest. One was made.
  [[nodiscard]] ConnectionHandle newest() const { return connections().back(); }

  [[nodiscard]] std::unique_ptr<WebSocketTask> makeTask(SerialExecutor& executor, WebSocketRequest request,
                                                        std::function<void()> didOpen) override;

 private:
  mutable Mutex mutex;
  std::function<void(const ConnectionHandle&)> startListener QUILLARD_GUARDED_BY(mutex);
  Seconds sendDelay QUILLARD_GUARDED_BY(mutex){0};
  std::set<std::string> authorityFiles QUILLARD_GUARDED_BY(mutex);
  std::vector<ConnectionHandle> made QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::platform::simulated
