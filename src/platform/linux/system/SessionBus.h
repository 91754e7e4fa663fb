#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include "platform/process/Environment.h"

namespace quillard::desktop {

// A connection of its own to the user's session bus, made when it is first needed and again after it broke. Never
// starts a bus. Main thread, with the Qt event loop; what is under way when this goes is heard of no more.
class SessionBus {
 public:
  using Reply = std::function<void(const QDBusMessage& reply)>;

  // `environment` says where the bus is, at each attempt to connect, and outlives this.
  explicit SessionBus(const platform::Environment& environment);
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;
  ~SessionBus();

  // False when there is no bus. Waits for the bus itself, not for any program on it.
  [[nodiscard]] bool isThere();

  // Sends a method call. `onReply` comes once, in a later turn, with the reply or an error; the lack of an answer
  // within `timeout` is an error, too. False, and no reply, when there is no bus.
  bool call(const QDBusMessage& message, std::chrono::milliseconds timeout, Reply onReply);

  // Calls back whenever the program behind a well-known name comes, goes or changes. For as long as this lives, on the
  // present connection only: ask again whenever there is a new one.
  void watchOwner(const QString& name, std::function<void()> onChange);

  // Called for each new connection, the first included, before anything else happens on it.
  void setOnConnect(std::function<void()> handler) { onConnect = std::move(handler); }

 private:
  bool connect();
  void disconnect();

  const platform::Environment& environment;
  const QString connectionName;
  std::function<void()> onConnect;
  std::unique_ptr<QObject> watchers;  // Of the present connection. Empty: not connected.
};

}  // namespace quillard::desktop
