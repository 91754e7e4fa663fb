#include "platform/qt/WebSocketConnection.h"

#include <utility>

#include <QtCore/QRegularExpression>
#include <QtNetwork/QNetworkRequest>
#include <QtWebSockets/QWebSocket>

namespace quillard::qt {
namespace {

using platform::BinaryMessage;
using platform::TextMessage;
using platform::WebSocketMessage;

constexpr Seconds kCloseTimeout{1};
constexpr std::size_t kMessagesInBacklog = 16;   // Of the longest kind.
constexpr std::size_t kWeightOfAnyMessage = 64;  // Bytes that an empty message costs.
constexpr qint64 kRoomForHeaders = 64 * 1024;    // Bytes that may be read ahead of a message.
constexpr qint64 kMostBytesUnsent = 4 * 1024 * 1024;

constexpr const char* kTooLate = "The connection was not opened in time.";
constexpr const char* kLost = "The connection was lost.";
constexpr const char* kNotOpen = "The connection is not open.";
constexpr const char* kPeerIsSilent = "The server has fallen silent.";
constexpr const char* kBacklogIsFull = "The server sends faster than its messages are read.";
constexpr const char* kNetworkIsFull = "The network takes no more for now.";

#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
constexpr auto kErrorSignal = &QWebSocket::errorOccurred;
#else
constexpr auto kErrorSignal = QOverload<QAbstractSocket::SocketError>::of(&QWebSocket::error);
#endif

std::string refusalText(int statusCode) {
  return "The server answered with HTTP " + std::to_string(statusCode) + " instead of opening a WebSocket.";
}

QNetworkRequest handshakeRequest(const QUrl& url, const std::vector<platform::HttpHeader>& headers) {
  QNetworkRequest request(url);
  for (const auto& header : headers) {
    request.setRawHeader(QByteArray::fromStdString(header.name), QByteArray::fromStdString(header.value));
  }
  return request;
}

}  // namespace

std::size_t backlogWeight(const WebSocketMessage& message) {
  const auto* text = std::get_if<TextMessage>(&message);
  return kWeightOfAnyMessage + (text ? text->text.size() : std::get<BinaryMessage>(message).bytes.size());
}

void WebSocketConnection::LaterDeleter::operator()(QWebSocket* ended) const {
  ended->disconnect();
  ended->deleteLater();
}

WebSocketConnection::WebSocketConnection(platform::SerialExecutor& network, TransportOptions options,
                                         platform::WebSocketRequest request, WebSocketBacklog backlog,
                                         std::function<void(WebSocketNews)> report)
    : network(network),
      options(std::move(options)),
      request(std::move(request)),
      backlog(std::move(backlog)),
      report(std::move(report)) {}

WebSocketConnection::~WebSocketConnection() = default;

void WebSocketConnection::open() {
  if (isEnded || socket) return;
  const auto url = usableUrl(request.url, {"ws", "wss"});
  if (!url) return fail(std::string(kUnusableAddress));
  if (!areSendable(request.headers)) return fail(std::string(kUnusableHeaders));
  makeSocket();
  listen();
  openDeadline = network.postAfter(request.timeout, [this] { fail(kTooLate); });
  socket->setProxy(systemProxyFor(*url));
  socket->open(handshakeRequest(*url, request.headers));
}

void WebSocketConnection::makeSocket() {
  socket.reset(new QWebSocket);
  socket->setSslConfiguration(tlsConfiguration(options));
  socket->setMaxAllowedIncomingFrameSize(request.longestMessage);
  socket->setMaxAllowedIncomingMessageSize(request.longestMessage);
  socket->setReadBufferSize(static_cast<qint64>(request.longestMessage) + kRoomForHeaders);
}

void WebSocketConnection::listen() {
  QWebSocket* const from = socket.get();
  QObject::connect(from, &QWebSocket::connected, from, [this] { opened(); });
  QObject::connect(from, &QWebSocket::textMessageReceived, from,
                   [this](const QString& text) { received(TextMessage{text.toStdString()}); });
  QObject::connect(from, &QWebSocket::binaryMessageReceived, from, [this](const QByteArray& bytes) {
    received(BinaryMessage{std::vector<std::uint8_t>(bytes.begin(), bytes.end())});
  });
  QObject::connect(from, &QWebSocket::textFrameReceived, from, [this] { peerIsAlive(); });
  QObject::connect(from, &QWebSocket::binaryFrameReceived, from, [this] { peerIsAlive(); });
  QObject::connect(from, &QWebSocket::pong, from, [this] { peerIsAlive(); });
  QObject::connect(from, &QWebSocket::bytesWritten, from, [this] { reportSent(); });
  QObject::connect(from, &QWebSocket::sslErrors, from, [this](const auto& errors) { certificateErrors = errors; });
  QObject::connect(from, kErrorSignal, from, [this](QAbstractSocket::SocketError error) { socketFailed(error); });
  // The code comes from the server, or from the socket itself when the server broke the protocol.
  QObject::connect(from, &QWebSocket::aboutToClose, from, [this] {
    const auto code = static_cast<std::uint16_t>(socket->closeCode());
    end({code, {"The connection was closed with code " + std::to_string(code) + "."}});
  });
  // In a later turn, for the error that says why comes after this signal.
  QObject::connect(from, &QWebSocket::disconnected, from, [this] {
    network.post([weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->fail(kLost);
    });
  });
}

void WebSocketConnection::opened() {
  isOpen = true;
  openDeadline.reset();
  pings = network.repeatEvery(options.pingInterval, [this] { socket->ping(); });
  peerIsAlive();
  report(WebSocketOpened{});
}

void WebSocketConnection::peerIsAlive() {
  if (isOpen) silence = network.postAfter(options.silenceLimit, [this] { fail(kPeerIsSilent); });
}

void WebSocketConnection::received(WebSocketMessage message) {
  if (isEnded) return;
  const std::size_t weight = backlogWeight(message);
  const std::size_t limit = kMessagesInBacklog * (request.longestMessage + kWeightOfAnyMessage);
  if (backlog->fetch_add(weight) + weight > limit) return fail(kBacklogIsFull);
  report(std::move(message));
}

void WebSocketConnection::sendText(const std::string& text, std::uint64_t number) {
  if (isEnded) return;  // The end was reported, which answers every message.
  if (!isOpen) return report(WebSocketSent{number, platform::TransportError{kNotOpen}});
  if (socket->bytesToWrite() + static_cast<qint64>(text.size()) > kMostBytesUnsent) {
    return report(WebSocketSent{number, platform::TransportError{kNetworkIsFull}});
  }
  unsent.push_back(number);
  socket->sendTextMessage(QString::fromStdString(text));
  if (!isEnded) socket->flush();
}

void WebSocketConnection::reportSent() {
  if (!isOpen || socket->bytesToWrite() > 0) return;
  for (const std::uint64_t number : std::exchange(unsent, {})) report(WebSocketSent{number, std::nullopt});
}

void WebSocketConnection::socketFailed(QAbstractSocket::SocketError error) {
  const auto status = refusingStatus();
  end({.closeCode = std::nullopt,
       .error = {status ? refusalText(*status) : failureText(error)},
       .refusedWithStatus = status});
}

// The socket reports a refused handshake as a refused connection, and gives the status only in its text.
std::optional<int> WebSocketConnection::refusingStatus() const {
  if (isOpen || !certificateErrors.isEmpty()) return std::nullopt;
  static const QRegularExpression kStatus(QStringLiteral("http status code: (\\d{3})\\b"));
  const auto match = kStatus.match(socket->errorString());
  if (!match.hasMatch()) return std::nullopt;
  return match.captured(1).toInt();
}

std::string WebSocketConnection::failureText(QAbstractSocket::SocketError error) const {
  if (!certificateErrors.isEmpty()) return certificateErrorText(certificateErrors);
  if (isOpen) return socketErrorText(error);
  const QString description = socket->errorString();
  if (description.contains(QStringLiteral("handshake"), Qt::CaseInsensitive) &&
      error == QAbstractSocket::ConnectionRefusedError) {
    return "The server does not speak WebSocket.";
  }
  return socketErrorText(error);
}

void WebSocketConnection::fail(std::string description) { end({std::nullopt, {std::move(description)}}); }

void WebSocketConnection::end(platform::WebSocketEnd why) {
  if (std::exchange(isEnded, true)) return;
  isOpen = false;
  openDeadline.reset();
  pings.reset();
  silence.reset();
  socket.reset();
  report(std::move(why));
}

void WebSocketConnection::sendClose(platform::WebSocketCloseCode code) {
  if (std::exchange(isEnded, true)) return;
  openDeadline.reset();
  pings.reset();
  silence.reset();
  if (!std::exchange(isOpen, false)) return socket.reset();
  isSendingClose = true;
  socket->disconnect();
  const auto leave = [self = shared_from_this()] {
    self->socket.reset();
    self->closeDeadline.reset();
  };
  QObject::connect(socket.get(), &QWebSocket::disconnected, socket.get(), [this] { socket.reset(); });
  closeDeadline = network.postAfter(kCloseTimeout, leave);
  socket->close(static_cast<QWebSocketProtocol::CloseCode>(code));
}

void WebSocketConnection::abandon() {
  isEnded = true;
  if (!isSendingClose) socket.reset();
}

}  // namespace quillard::qt
