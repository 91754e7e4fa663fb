#include "platform/linux/system/SessionBus.h"

#include <atomic>
#include <utility>

#include <QtDBus/QDBusPendingCall>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusServiceWatcher>

#include "platform/linux/storage/SessionBusAddress.h"

namespace quillard::desktop {
namespace {

QString newConnectionName() {
  static std::atomic<int> count{0};
  return QStringLiteral("quillard-%1").arg(count.fetch_add(1));
}

}  // namespace

SessionBus::SessionBus(const platform::Environment& environment)
    : environment(environment), connectionName(newConnectionName()) {}

SessionBus::~SessionBus() { disconnect(); }

bool SessionBus::isThere() { return connect(); }

bool SessionBus::connect() {
  if (watchers && QDBusConnection(connectionName).isConnected()) return true;
  disconnect();
  const auto address = xdg::sessionBusAddress(environment);
  if (!address) return false;
  const auto connection = QDBusConnection::connectToBus(QString::fromStdString(*address), connectionName);
  watchers = std::make_unique<QObject>();
  if (!connection.isConnected()) {
    disconnect();
    return false;
  }
  if (onConnect) onConnect();
  return true;
}

void SessionBus::disconnect() {
  if (!watchers) return;
  watchers.reset();
  QDBusConnection::disconnectFromBus(connectionName);
}

bool SessionBus::call(const QDBusMessage& message, std::chrono::milliseconds timeout, Reply onReply) {
  if (!connect()) return false;
  const auto pending = QDBusConnection(connectionName).asyncCall(message, static_cast<int>(timeout.count()));
  auto* const watcher = new QDBusPendingCallWatcher(pending, watchers.get());
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                   [onReply = std::move(onReply)](QDBusPendingCallWatcher* finished) {
                     const auto reply = finished->reply();
                     finished->deleteLater();
                     onReply(reply);
                   });
  return true;
}

void SessionBus::watchOwner(const QString& name, std::function<void()> onChange) {
  if (!watchers) return;
  auto* const watcher = new QDBusServiceWatcher(name, QDBusConnection(connectionName),
                                                QDBusServiceWatcher::WatchForOwnerChange, watchers.get());
  QObject::connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, watcher,
                   [onChange = std::move(onChange)] { onChange(); });
}

}  // namespace quillard::desktop
