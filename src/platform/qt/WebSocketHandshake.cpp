#include "platform/qt/WebSocketHandshake.h"

#include <algorithm>
#include <vector>

#include <QtCore/QCryptographicHash>

#include "foundation/Text.h"

namespace quillard::qt {
namespace {

// The values of all fields of this name (lower case), in their order.
std::vector<std::string> fields(std::string_view head, std::string_view name) {
  std::vector<std::string> values;
  for (std::size_t at = head.find('\n'); at != std::string_view::npos && at + 1 < head.size();) {
    const std::size_t end = head.find('\n', at + 1);
    const auto line = head.substr(at + 1, end == std::string_view::npos ? end : end - at - 1);
    const std::size_t colon = line.find(':');
    if (colon != std::string_view::npos && text::lowercased(line.substr(0, colon)) == name) {
      values.emplace_back(text::trimmed(line.substr(colon + 1)));
    }
    at = end;
  }
  return values;
}

// Of a list with commas, in any letter case.
bool hasToken(const std::vector<std::string>& values, std::string_view token) {
  const std::string list = text::lowercased(text::joined(values, ","));
  for (std::size_t at = 0; at <= list.size();) {
    const std::size_t end = std::min(list.find(',', at), list.size());
    if (text::trimmed(std::string_view(list).substr(at, end - at)) == token) return true;
    at = end + 1;
  }
  return false;
}

std::string acceptFor(const QByteArray& key) {
  const QByteArray joined = key + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
  return QCryptographicHash::hash(joined, QCryptographicHash::Sha1).toBase64().toStdString();
}

}  // namespace

QByteArray handshakeRequest(const QUrl& url, const std::vector<platform::HttpHeader>& headers, const QByteArray& key) {
  const QString path = url.path(QUrl::FullyEncoded);
  QByteArray bytes = QByteArray("GET ") + (path.isEmpty() ? QByteArray("/") : path.toLatin1());
  if (url.hasQuery()) bytes += '?' + url.query(QUrl::FullyEncoded).toLatin1();
  bytes += " HTTP/1.1\r\nHost: " + url.authority(QUrl::FullyEncoded).toLatin1() +
           "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\nSec-WebSocket-Key: " + key +
           "\r\n";
  for (const auto& header : headers) {
    bytes += QByteArray::fromStdString(header.name) + ": " + QByteArray::fromStdString(header.value) + "\r\n";
  }
  return bytes + "\r\n";
}

bool isAcceptedHandshake(std::string_view head, const QByteArray& key) {
  const auto accept = fields(head, "sec-websocket-accept");
  return hasToken(fields(head, "upgrade"), "websocket") && hasToken(fields(head, "connection"), "upgrade") &&
         accept.size() == 1 && accept.front() == acceptFor(key) && fields(head, "sec-websocket-extensions").empty() &&
         fields(head, "sec-websocket-protocol").empty();
}

}  // namespace quillard::qt
