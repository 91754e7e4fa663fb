#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <QtCore/QList>
#include <QtCore/QUrl>
#include <QtNetwork/QAbstractSocket>
#include <QtNetwork/QNetworkProxy>
#include <QtNetwork/QSslConfiguration>
#include <QtNetwork/QSslError>

#include "platform/network/Http.h"
#include "values/Time.h"

namespace quillard::qt {

// What the program ships with. Tests shorten the times and bring an authority of their own; nothing in the environment
// can.
struct TransportOptions {
  Seconds pingInterval{20};
  Seconds silenceLimit{40};           // A peer that has sent nothing for so long is dead.
  std::string additionalAuthorities;  // PEM. Trusted besides the system's store.
};

// What every connection keeps to, WebSocket or HTTP: on the network thread.

// The address, when it has one of `schemes` (lower case), a host, and no credentials in it.
[[nodiscard]] std::optional<QUrl> usableUrl(std::string_view text, std::initializer_list<std::string_view> schemes);

// Whether the headers can be sent as they stand. A line break in one would start another.
[[nodiscard]] bool areSendable(const std::vector<platform::HttpHeader>& headers);

// TLS 1.2 or newer, the peer verified against the system's store and by its name.
[[nodiscard]] QSslConfiguration tlsConfiguration(const TransportOptions& options);

// The proxy that the system has for this address. None for this machine itself: what is sent to it in clear must not
// leave it. May wait for the system's own look-up.
[[nodiscard]] QNetworkProxy systemProxyFor(const QUrl& url);

// For a diagnostic line. A fixed text for each error, so that nothing of the address, the request or the answer can get
// into them.
[[nodiscard]] std::string socketErrorText(QAbstractSocket::SocketError error);
[[nodiscard]] std::string certificateErrorText(const QList<QSslError>& errors);

inline constexpr std::string_view kUnusableAddress = "The address cannot be used.";
inline constexpr std::string_view kUnusableHeaders = "The request's headers cannot be sent.";

}  // namespace quillard::qt
