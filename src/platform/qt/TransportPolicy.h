#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
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

// What the program ships with. Tests shorten the times.
struct TransportOptions {
  Seconds pingInterval{20};
  Seconds silenceLimit{40};  // A peer that has sent nothing for so long is dead.
};

// What every connection keeps to, WebSocket or HTTP: on the network thread.

// The address, when it has one of `schemes` (lower case), a host, and no credentials in it.
[[nodiscard]] std::optional<QUrl> usableUrl(std::string_view text, std::initializer_list<std::string_view> schemes);

// Whether the headers can be sent as they stand. A line break in one would start another.
[[nodiscard]] bool areSendable(const std::vector<platform::HttpHeader>& headers);

// TLS 1.2 or newer, the peer verified by its name, and against the system's store and the certificates in
// `authorityFile`, unless that is empty. Else why that file cannot be used, as a sentence that names it. Reads the
// file, of which nothing is kept: an ordinary one of 1 MiB at most.
[[nodiscard]] std::variant<QSslConfiguration, std::string> tlsConfiguration(const std::string& authorityFile);

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
