#include "platform/qt/TransportPolicy.h"

#include <algorithm>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtNetwork/QHostAddress>
#include <QtNetwork/QNetworkProxyFactory>
#include <QtNetwork/QSslCertificate>

namespace quillard::qt {
namespace {

bool isTokenCharacter(char c) {
  const bool isAlphanumeric = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  return isAlphanumeric || std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

bool isName(std::string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter); }

bool isValue(std::string_view text) {
  return std::none_of(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

bool isThisMachine(const QString& host) {
  return host == QStringLiteral("localhost") || host.endsWith(QStringLiteral(".localhost")) ||
         QHostAddress(host).isLoopback();
}

// What is no ordinary file could keep its reader waiting.
std::optional<QByteArray> shortFile(const QString& path) {
  constexpr qint64 kLongest = 1024 * 1024;
  QFile file(path);
  if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) return std::nullopt;
  QByteArray bytes = file.read(kLongest + 1);
  if (file.error() != QFileDevice::NoError || bytes.size() > kLongest) return std::nullopt;
  return bytes;
}

// Proxies are configured for the web's schemes, and a WebSocket goes where the web goes.
QUrl webAddressOf(QUrl url) {
  if (url.scheme() == QStringLiteral("wss")) url.setScheme(QStringLiteral("https"));
  if (url.scheme() == QStringLiteral("ws")) url.setScheme(QStringLiteral("http"));
  url.setPath(QStringLiteral("/"));
  url.setQuery(QString());  // Its secrets are no business of a proxy script.
  return url;
}

}  // namespace

std::optional<QUrl> usableUrl(std::string_view text, std::initializer_list<std::string_view> schemes) {
  QUrl url(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())), QUrl::StrictMode);
  if (!url.isValid() || url.host().isEmpty() || !url.userInfo().isEmpty()) return std::nullopt;
  if (std::find(schemes.begin(), schemes.end(), url.scheme().toStdString()) == schemes.end()) return std::nullopt;
  url.setFragment(QString());
  return url;
}

bool areSendable(const std::vector<platform::HttpHeader>& headers) {
  return std::all_of(headers.begin(), headers.end(),
                     [](const platform::HttpHeader& header) { return isName(header.name) && isValue(header.value); });
}

std::variant<QSslConfiguration, std::string> tlsConfiguration(const std::string& authorityFile) {
  QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
  configuration.setProtocol(QSsl::TlsV1_2OrLater);
  configuration.setPeerVerifyMode(QSslSocket::VerifyPeer);
  if (authorityFile.empty()) return configuration;
  const auto pem = shortFile(QString::fromStdString(authorityFile));
  if (!pem) return "The file of authorities cannot be read: " + authorityFile;
  const auto authorities = QSslCertificate::fromData(*pem, QSsl::Pem);
  if (authorities.isEmpty()) return "The file of authorities holds no certificate: " + authorityFile;
  configuration.setCaCertificates(QSslConfiguration::systemCaCertificates() + authorities);
  return configuration;
}

QNetworkProxy systemProxyFor(const QUrl& url) {
  const QNetworkProxy none(QNetworkProxy::NoProxy);
  if (isThisMachine(url.host())) return none;
  const auto found = QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(webAddressOf(url)));
  if (found.isEmpty()) return none;
  QNetworkProxy proxy = found.first();
  // Only a tunnel keeps the connection whole.
  if (proxy.type() == QNetworkProxy::HttpCachingProxy) proxy.setType(QNetworkProxy::HttpProxy);
  if (proxy.type() == QNetworkProxy::FtpCachingProxy) return none;
  return proxy;
}

std::string socketErrorText(QAbstractSocket::SocketError error) {
  switch (error) {
    case QAbstractSocket::ConnectionRefusedError:
      return "The connection was refused.";
    case QAbstractSocket::RemoteHostClosedError:
      return "The server closed the connection.";
    case QAbstractSocket::HostNotFoundError:
      return "The server's name was not found.";
    case QAbstractSocket::SocketTimeoutError:
      return "The server did not answer in time.";
    case QAbstractSocket::NetworkError:
      return "The network is down, or the connection was cut.";
    case QAbstractSocket::SslHandshakeFailedError:
    case QAbstractSocket::SslInternalError:
    case QAbstractSocket::SslInvalidUserDataError:
      return "No secure connection could be made.";
    case QAbstractSocket::ProxyAuthenticationRequiredError:
      return "The proxy asks for credentials.";
    case QAbstractSocket::ProxyConnectionRefusedError:
    case QAbstractSocket::ProxyConnectionClosedError:
    case QAbstractSocket::ProxyConnectionTimeoutError:
    case QAbstractSocket::ProxyNotFoundError:
    case QAbstractSocket::ProxyProtocolError:
      return "The proxy could not be used.";
    default:
      return "The connection failed (error " + std::to_string(static_cast<int>(error)) + ").";
  }
}

std::string certificateErrorText(const QList<QSslError>& errors) {
  std::string text = "The server's certificate was refused";
  const char* separator = ": ";
  for (const QSslError& error : errors) {
    text += separator + QSslError(error.error()).errorString().toStdString();
    separator = "; ";
  }
  return text + ".";
}

}  // namespace quillard::qt
