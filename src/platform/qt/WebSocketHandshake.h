#pragma once

#include <string>
#include <string_view>

#include <QtCore/QByteArray>
#include <QtCore/QUrl>

#include "platform/network/WebSocket.h"

// The opening handshake of RFC 6455, section 4, from the client's side. No extension and no subprotocol is offered.
namespace quillard::qt {

// `key`: sixteen random bytes in base64.
[[nodiscard]] QByteArray handshakeRequest(const QUrl& url, const std::vector<platform::HttpHeader>& headers,
                                          const QByteArray& key);

// Whether the head of an answer with status 101 accepts the request that had this key.
[[nodiscard]] bool isAcceptedHandshake(std::string_view head, const QByteArray& key);

}  // namespace quillard::qt
