#include "platform/qt/WebSocketConnection.h"

#include <array>
#include <utility>

#include <QtCore/QRandomGenerator>
#include <QtNetwork/QSslSocket>

#include "platform/qt/WebSocketHandshake.h"

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

constexpr const char* kOpenedTooLate = "The connection was not opened in time.";
constexpr const char* kClosedSilently = "The server closed the connection without a close message.";
constexpr const char* kNoWebSocket = "The server does not speak WebSocket.";
constexpr const char* kBrokeProtocol = "The server broke the WebSocket protocol, or sent a message that is too long.";
constexpr const char* kNotOpen = "The connection is not open.";
constexpr const char* kPeerIsSilent = "The server has fallen silent.";
constexpr const char* kBacklogIsFull = "The server sends faster than its messages are read.";
constexpr const char* kNetworkIsFull = "The network takes no more for now.";

std::string refusalText(int statusCode) {
  return "The server answered with HTTP " + std::to_string(statusCode) + " instead of opening a WebSocket.";
}

std::array<std::uint8_t, 4> randomMask() {
  const quint32 number = QRandomGenerator::system()->generate();
  return {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8U),
          static_cast<std::uint8_t>(number >> 16U), static_cast<std::uint8_t>(number >> 24U)};
}

// Sixteen random bytes in base64.
QByteArray randomKey() {
  std::array<quint32, 4> numbers{};
  QRandomGenerator::system()->fillRange(numbers.data(), static_cast<qsizetype>(numbers.size()));
  return QByteArray(reinterpret_cast<const char*>(numbers.data()), sizeof numbers).toBase64();
}

}  // namespace

std::size_t backlogWeight(const WebSocketMessage& message) {
  const auto* text = std::get_if<TextMessage>(&message);
  return kWeightOfAnyMessage + (text ? text->text.size() : std::get<BinaryMessage>(message).bytes.size());
}

void WebSocketConnection::LaterDeleter::operator()(QSslSocket* ended) const {
  ended->disconnect();
  ended->deleteLater();
}

WebSocketConnection::WebSocketConnection(platform::SerialExecutor& network, TransportOptions options,
                                         platform::WebSocketRequest request, WebSocketBacklog backlog,
                                         std::function<void(WebSocketNews)> report)
    : network(network),
      options(options),
      request(std::move(request)),
      backlog(std::move(backlog)),
      report(std::move(report)),
      frames(this->request.longestMessage) {}

WebSocketConnection::~WebSocketConnection() = default;

void WebSocketConnection::open() {
  if (isEnded || socket) return;
  const auto usable = usableUrl(request.url, {"ws", "wss"});
  if (!usable) return fail(std::string(kUnusableAddress));
  if (!areSendable(request.headers)) return fail(std::string(kUnusableHeaders));
  url = *usable;
  QSslConfiguration tls;
  if (url.scheme() == QStringLiteral("wss")) {
    auto configuration = tlsConfiguration(request.authorityFile);
    if (auto* const problem = std::get_if<std::string>(&configuration)) return fail(std::move(*problem));
    tls = std::get<QSslConfiguration>(std::move(configuration));
  }
  openDeadline = network.postAfter(request.timeout, [this] { fail(kOpenedTooLate); });
  socket.reset(new QSslSocket);
  listen();
  connectTo(tls);
}

void WebSocketConnection::connectTo(const QSslConfiguration& tls) {
  constexpr int kHttpPort = 80;
  constexpr int kHttpsPort = 443;
  socket->setReadBufferSize(static_cast<qint64>(request.longestMessage) + kRoomForHeaders);
  socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
  socket->setSslConfiguration(tls);
  socket->setProxy(systemProxyFor(url));
  if (url.scheme() == QStringLiteral("wss")) {
    socket->connectToHostEncrypted(url.host(), static_cast<quint16>(url.port(kHttpsPort)));
  } else {
    socket->connectToHost(url.host(), static_cast<quint16>(url.port(kHttpPort)));
  }
}

void WebSocketConnection::listen() {
  QSslSocket* const from = socket.get();
  QObject::connect(from, &QSslSocket::connected, from, [this] {
    if (url.scheme() == QStringLiteral("ws")) sendHandshake();
  });
  QObject::connect(from, &QSslSocket::encrypted, from, [this] { sendHandshake(); });
  QObject::connect(from, &QSslSocket::readyRead, from, [this] { read(); });
  QObject::connect(from, &QSslSocket::bytesWritten, from, [this] { reportSent(); });
  QObject::connect(from, &QSslSocket::encryptedBytesWritten, from, [this] { reportSent(); });
  QObject::connect(from, &QSslSocket::sslErrors, from, [this](const auto& errors) { certificateErrors = errors; });
  QObject::connect(from, &QSslSocket::errorOccurred, from,
                   [this](QAbstractSocket::SocketError error) { socketFailed(error); });
}

void WebSocketConnection::sendHandshake() {
  key = randomKey();
  socket->write(handshakeRequest(url, request.headers, key));
}

void WebSocketConnection::read() {
  if (!isOpen) readHandshake();
  std::array<char, 16 * 1024> piece{};
  while (isOpen) {
    const qint64 count = socket->read(piece.data(), piece.size());
    if (count <= 0) return;
    readFrames({piece.data(), static_cast<std::size_t>(count)});
  }
}

void WebSocketConnection::readHandshake() {
  std::array<char, 4096> piece{};
  while (!isEnded && head.state() == HttpResponseHead::State::incomplete) {
    const qint64 count = socket->read(piece.data(), piece.size());
    if (count <= 0) return;
    head.add({piece.data(), static_cast<std::size_t>(count)});
  }
  if (isEnded) return;
  constexpr int kSwitchingProtocols = 101;
  if (head.state() != HttpResponseHead::State::complete) return fail(kNoWebSocket);
  if (head.statusCode() != kSwitchingProtocols) {
    return end(
        {.closeCode = std::nullopt, .error = {refusalText(head.statusCode())}, .refusedWithStatus = head.statusCode()});
  }
  if (!isAcceptedHandshake(head.text(), key)) return fail(kNoWebSocket);
  opened();
  readFrames(head.rest());
}

void WebSocketConnection::opened() {
  isOpen = true;
  openDeadline.reset();
  pings = network.repeatEvery(options.pingInterval, [this] { sendFrame(ClientOpcode::ping, {}); });
  peerIsAlive();
  report(WebSocketOpened{});
}

void WebSocketConnection::readFrames(std::string_view bytes) {
  if (bytes.empty()) return;
  peerIsAlive();
  frames.add(bytes);
  while (isOpen) {
    auto event = frames.next();
    if (!event) return;
    handle(std::move(*event));
  }
}

void WebSocketConnection::handle(WebSocketEvent event) {
  if (auto* text = std::get_if<TextReceived>(&event)) return received(TextMessage{std::move(text->text)});
  if (const auto* binary = std::get_if<BinaryReceived>(&event)) {
    return received(BinaryMessage{std::vector<std::uint8_t>(binary->bytes.begin(), binary->bytes.end())});
  }
  if (const auto* ping = std::get_if<PingReceived>(&event)) {
    // Of a server that sends pings and reads no pongs, the rest is not answered.
    if (bytesUnsent() < kMostBytesUnsent) sendFrame(ClientOpcode::pong, ping->payload);
    return;
  }
  if (const auto* close = std::get_if<CloseReceived>(&event)) {
    constexpr std::uint16_t kNoCode = 1005;
    sendFrame(ClientOpcode::close, close->code == kNoCode ? std::string() : closePayload(close->code));
    end({close->code, {"The connection was closed with code " + std::to_string(close->code) + "."}});
    return;
  }
  if (const auto* broken = std::get_if<ProtocolBroken>(&event)) {
    sendFrame(ClientOpcode::close, closePayload(broken->code));
    fail(kBrokeProtocol);
  }
}

void WebSocketConnection::sendFrame(ClientOpcode opcode, std::string_view payload) {
  const std::string frame = clientFrame(opcode, payload, randomMask());
  QSslSocket* const to = socket.get();
  to->write(frame.data(), static_cast<qint64>(frame.size()));
  if (socket) to->flush();  // Writing may have ended it.
}

qint64 WebSocketConnection::bytesUnsent() const { return socket->bytesToWrite() + socket->encryptedBytesToWrite(); }

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
  if (bytesUnsent() + static_cast<qint64>(text.size()) > kMostBytesUnsent) {
    return report(WebSocketSent{number, platform::TransportError{kNetworkIsFull}});
  }
  unsent.push_back(number);
  sendFrame(ClientOpcode::text, text);
}

void WebSocketConnection::reportSent() {
  if (!isOpen || bytesUnsent() > 0) return;
  for (const std::uint64_t number : std::exchange(unsent, {})) report(WebSocketSent{number, std::nullopt});
}

void WebSocketConnection::socketFailed(QAbstractSocket::SocketError error) {
  read();  // What came right before the end.
  if (isEnded) return;
  if (!certificateErrors.isEmpty()) return fail(certificateErrorText(certificateErrors));
  if (error != QAbstractSocket::RemoteHostClosedError) return fail(socketErrorText(error));
  fail(isOpen ? kClosedSilently : kNoWebSocket);
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
  sendFrame(ClientOpcode::close, closePayload(static_cast<std::uint16_t>(code)));
  const auto leave = [self = shared_from_this()] {
    self->socket.reset();
    self->closeDeadline.reset();
  };
  // The server ends the connection once it has answered; what it still sends is dropped.
  QSslSocket* const from = socket.get();
  QObject::connect(from, &QSslSocket::readyRead, from, [from] { from->readAll(); });
  QObject::connect(from, &QSslSocket::disconnected, from, [this] { socket.reset(); });
  closeDeadline = network.postAfter(kCloseTimeout, leave);
}

void WebSocketConnection::abandon() {
  isEnded = true;
  if (!isSendingClose) socket.reset();
}

}  // namespace quillard::qt
