#pragma once

#include <functional>
#include <memory>
#include <string>

#include <QtCore/QUrl>
#include <QtNetwork/QAbstractSocket>

#include "platform/network/Http.h"
#include "platform/qt/HttpResponseHead.h"
#include "platform/qt/TransportPolicy.h"

class QSslSocket;

namespace quillard::qt {

// One request and the head of its response, over a connection of its own. On the network thread. Destroyed early, it
// ends the connection and reports nothing.
//
// HTTP over Qt's TLS sockets is an exchange of our own: one request, the response's head, no redirect, no cookie. Qt's
// HTTP client cannot distinguish a server that speaks something else from one that closed the connection, keeps headers
// of any length, and repeats requests by itself.
class HttpExchange {
 public:
  // `done` is called once, later than `start`, and may destroy this object.
  HttpExchange(platform::SerialExecutor& network, platform::HttpRequest request,
               std::function<void(platform::HttpOutcome)> done);
  HttpExchange(const HttpExchange&) = delete;
  HttpExchange& operator=(const HttpExchange&) = delete;
  ~HttpExchange();

  void start();

 private:
  // Leaves the socket to the loop: its own signals may be on the stack.
  struct LaterDeleter {
    void operator()(QSslSocket* ended) const;
  };

  // `tls`: not used for http.
  void connectTo(const QUrl& url, const QSslConfiguration& tls);
  void listen();
  void write();
  void read();
  void socketFailed(QAbstractSocket::SocketError error);
  void fail(std::string description);
  void finish(platform::HttpOutcome outcome);

  platform::SerialExecutor& network;
  const platform::HttpRequest request;
  std::function<void(platform::HttpOutcome)> done;
  std::unique_ptr<QSslSocket, LaterDeleter> socket;
  QUrl url;
  QList<QSslError> certificateErrors;
  HttpResponseHead head;
  bool isFinished = false;
  platform::TaskHandle deadline;
  platform::TaskHandle report;
};

}  // namespace quillard::qt
