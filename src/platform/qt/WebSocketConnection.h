#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include <QtCore/QUrl>
#include <QtNetwork/QAbstractSocket>
#include <QtNetwork/QSslError>

#include "platform/network/WebSocket.h"
#include "platform/qt/HttpResponseHead.h"
#include "platform/qt/TransportPolicy.h"
#include "platform/qt/WebSocketFrames.h"

class QSslSocket;

namespace quillard::qt {

// What a connection reports to its owner, in the order in which it happened.
struct WebSocketOpened {};
struct WebSocketSent {
  std::uint64_t number = 0;  // As given to `sendText`.
  std::optional<platform::TransportError> error;
};
using WebSocketNews = std::variant<WebSocketOpened, platform::WebSocketMessage, WebSocketSent, platform::WebSocketEnd>;

// Bytes that have arrived and were not asked for yet. Counted up by the connection, down by its owner.
using WebSocketBacklog = std::shared_ptr<std::atomic<std::size_t>>;

// What a message weighs in the backlog: an empty one is not free.
[[nodiscard]] std::size_t backlogWeight(const platform::WebSocketMessage& message);

// The half of a WebSocket task that lives on the network thread, where everything here is called and its last reference
// goes. States: made -> connecting -> open -> ended, or ended from any of them; `report` is not called once ended.
//
// WebSockets over Qt's TLS sockets are an implementation of our own: Qt's client takes frames that a server has masked,
// and refuses texts that were cut inside of a character.
class WebSocketConnection : public std::enable_shared_from_this<WebSocketConnection> {
 public:
  WebSocketConnection(platform::SerialExecutor& network, TransportOptions options, platform::WebSocketRequest request,
                      WebSocketBacklog backlog, std::function<void(WebSocketNews)> report);
  WebSocketConnection(const WebSocketConnection&) = delete;
  WebSocketConnection& operator=(const WebSocketConnection&) = delete;
  ~WebSocketConnection();

  void open();
  // `number` comes back with the outcome.
  void sendText(const std::string& text, std::uint64_t number);
  // Ends the connection with a close frame, which has a second to leave; nothing is reported any more.
  void sendClose(platform::WebSocketCloseCode code);
  // Ends the connection now, unless it is closing.
  void abandon();

 private:
  // Leaves the socket to the loop: its own signals may be on the stack.
  struct LaterDeleter {
    void operator()(QSslSocket* ended) const;
  };

  // `tls`: not used for ws.
  void connectTo(const QSslConfiguration& tls);
  void listen();
  void sendHandshake();
  void read();
  void readHandshake();
  void readFrames(std::string_view bytes);
  void handle(WebSocketEvent event);
  void opened();
  void received(platform::WebSocketMessage message);
  void sendFrame(ClientOpcode opcode, std::string_view payload);
  [[nodiscard]] qint64 bytesUnsent() const;
  void peerIsAlive();
  void reportSent();
  void socketFailed(QAbstractSocket::SocketError error);
  void fail(std::string description);
  void end(platform::WebSocketEnd why);

  platform::SerialExecutor& network;
  const TransportOptions options;
  const platform::WebSocketRequest request;
  const WebSocketBacklog backlog;
  const std::function<void(WebSocketNews)> report;

  QUrl url;
  std::unique_ptr<QSslSocket, LaterDeleter> socket;
  QByteArray key;
  HttpResponseHead head;
  WebSocketFrameReader frames;
  QList<QSslError> certificateErrors;
  std::deque<std::uint64_t> unsent;  // Handed to the socket, not yet to the network.
  bool isOpen = false;
  bool isEnded = false;
  bool isSendingClose = false;
  platform::TaskHandle openDeadline;
  platform::TaskHandle pings;
  platform::TaskHandle silence;
  platform::TaskHandle closeDeadline;
};

}  // namespace quillard::qt
