#include "platform/qt/HttpExchange.h"

#include <array>
#include <utility>

#include <QtNetwork/QSslSocket>

namespace quillard::qt {
namespace {

using platform::HttpOutcome;
using platform::HttpRequest;
using platform::TransportError;

constexpr const char* kAnswerTooLate = "The server did not answer in time.";
constexpr const char* kBrokeOff = "The server closed the connection before it had answered.";
constexpr const char* kHeadTooLong = "The server's answer begins with too many headers.";
constexpr const char* kUnusableMethod = "The request's method cannot be sent.";

bool isSendableMethod(const std::string& method) {
  return !method.empty() && method.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == std::string::npos;
}

QByteArray requestBytes(const HttpRequest& request, const QUrl& url) {
  const QString path = url.path(QUrl::FullyEncoded);
  QByteArray bytes = QByteArray::fromStdString(request.method) + ' ';
  bytes += path.isEmpty() ? QByteArray("/") : path.toLatin1();
  if (url.hasQuery()) bytes += '?' + url.query(QUrl::FullyEncoded).toLatin1();
  bytes += " HTTP/1.1\r\nHost: " + url.authority(QUrl::FullyEncoded).toLatin1() + "\r\nConnection: close\r\n";
  for (const auto& header : request.headers) {
    bytes += QByteArray::fromStdString(header.name) + ": " + QByteArray::fromStdString(header.value) + "\r\n";
  }
  bytes += "Content-Length: " + QByteArray::number(static_cast<qulonglong>(request.body.size())) + "\r\n\r\n";
  return bytes + QByteArray::fromStdString(request.body);
}

}  // namespace

void HttpExchange::LaterDeleter::operator()(QSslSocket* ended) const {
  ended->disconnect();
  ended->deleteLater();
}

HttpExchange::HttpExchange(platform::SerialExecutor& network, HttpRequest request,
                           std::function<void(HttpOutcome)> done)
    : network(network), request(std::move(request)), done(std::move(done)) {}

HttpExchange::~HttpExchange() = default;

void HttpExchange::start() {
  const auto usable = usableUrl(request.url, {"http", "https"});
  if (!usable) return fail(std::string(kUnusableAddress));
  if (!isSendableMethod(request.method)) return fail(kUnusableMethod);
  if (!areSendable(request.headers)) return fail(std::string(kUnusableHeaders));
  url = *usable;
  QSslConfiguration tls;
  if (url.scheme() == QStringLiteral("https")) {
    auto configuration = tlsConfiguration(request.authorityFile);
    if (auto* const problem = std::get_if<std::string>(&configuration)) return fail(std::move(*problem));
    tls = std::get<QSslConfiguration>(std::move(configuration));
  }
  deadline = network.postAfter(request.timeout, [this] { fail(kAnswerTooLate); });
  socket.reset(new QSslSocket);
  listen();
  connectTo(url, tls);
}

void HttpExchange::connectTo(const QUrl& address, const QSslConfiguration& tls) {
  constexpr int kHttpPort = 80;
  constexpr int kHttpsPort = 443;
  constexpr qint64 kReadAhead = 64 * 1024;
  socket->setReadBufferSize(kReadAhead);
  socket->setSslConfiguration(tls);
  socket->setProxy(systemProxyFor(address));
  if (address.scheme() == QStringLiteral("https")) {
    socket->connectToHostEncrypted(address.host(), static_cast<quint16>(address.port(kHttpsPort)));
  } else {
    socket->connectToHost(address.host(), static_cast<quint16>(address.port(kHttpPort)));
  }
}

void HttpExchange::listen() {
  QSslSocket* const from = socket.get();
  QObject::connect(from, &QSslSocket::connected, from, [this] {
    if (url.scheme() == QStringLiteral("http")) write();
  });
  QObject::connect(from, &QSslSocket::encrypted, from, [this] { write(); });
  QObject::connect(from, &QSslSocket::readyRead, from, [this] { read(); });
  QObject::connect(from, &QSslSocket::sslErrors, from, [this](const auto& errors) { certificateErrors = errors; });
  QObject::connect(from, &QSslSocket::errorOccurred, from,
                   [this](QAbstractSocket::SocketError error) { socketFailed(error); });
}

void HttpExchange::write() { socket->write(requestBytes(request, url)); }

void HttpExchange::read() {
  std::array<char, 4096> piece{};
  while (head.state() == HttpResponseHead::State::incomplete) {
    const qint64 count = socket->read(piece.data(), piece.size());
    if (count <= 0) return;
    switch (head.add({piece.data(), static_cast<std::size_t>(count)})) {
      case HttpResponseHead::State::incomplete:
        break;
      case HttpResponseHead::State::complete:
        return finish(platform::HttpResponse{head.statusCode()});
      case HttpResponseHead::State::notHttp:
        return finish(platform::NotHttpResponse{});
      case HttpResponseHead::State::tooLong:
        return fail(kHeadTooLong);
    }
  }
}

void HttpExchange::socketFailed(QAbstractSocket::SocketError error) {
  read();  // An answer may have come right before the end.
  if (!certificateErrors.isEmpty()) return fail(certificateErrorText(certificateErrors));
  if (error == QAbstractSocket::RemoteHostClosedError) return fail(kBrokeOff);
  fail(socketErrorText(error));
}

void HttpExchange::fail(std::string description) { finish(TransportError{std::move(description)}); }

void HttpExchange::finish(HttpOutcome outcome) {
  if (std::exchange(isFinished, true)) return;
  deadline.reset();
  socket.reset();
  // In a turn of its own: `done` may destroy this object, and the caller is still in it.
  report = network.postAfter(Seconds::zero(),
                             [completion = std::move(done), outcome = std::move(outcome)] { completion(outcome); });
}

}  // namespace quillard::qt
