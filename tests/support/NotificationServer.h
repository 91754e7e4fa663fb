#pragma once

#include <string>
#include <utility>
#include <vector>

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusVirtualObject>
#include <gtest/gtest.h>

#include "support/PrivateBus.h"

namespace quillard::test {

// As it came over the bus.
struct SentNote {
  std::string program;
  uint replaces = 0;
  uint number = 0;  // That the server gave it.
  std::string title;
  std::string body;
  QVariantMap hints;
};

// A notification server on a private bus: keeps the notes that it is sent, and can be made to behave badly.
class NotificationServer : public QDBusVirtualObject {
 public:
  enum class Manner { answers, fails, isSilent };

  explicit NotificationServer(const PrivateBus& bus)
      : name(QStringLiteral("server-%1").arg(reinterpret_cast<quintptr>(this))),
        connection(QDBusConnection::connectToBus(QString::fromStdString(bus.address()), name)) {
    EXPECT_TRUE(connection.registerVirtualObject(QStringLiteral("/org/freedesktop/Notifications"), this));
    EXPECT_TRUE(connection.registerService(QStringLiteral("org.freedesktop.Notifications")));
  }
  NotificationServer(const NotificationServer&) = delete;
  NotificationServer& operator=(const NotificationServer&) = delete;
  ~NotificationServer() override { QDBusConnection::disconnectFromBus(name); }

  [[nodiscard]] QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
    if (manner == Manner::isSilent) return true;
    if (manner == Manner::fails) {
      connection.send(message.createErrorReply(QStringLiteral("org.example.Broken"), QStringLiteral("out of order")));
      return true;
    }
    if (message.member() == QLatin1String("GetCapabilities")) {
      timesAsked += 1;
      connection.send(message.createReply(QVariant(capabilities)));
    } else if (message.member() == QLatin1String("GetServerInformation")) {
      connection.send(message.createReply(QVariantList{program, vendor, QStringLiteral("1.9"), QStringLiteral("1.2")}));
    } else if (message.member() == QLatin1String("Notify")) {
      keep(message);
    }
    return true;
  }
  // Answers what was held back.
  void answerHeld() {
    holdsAnswers = false;
    for (const auto& [message, number] : std::exchange(held, {})) connection.send(message.createReply(number));
  }

  Manner manner = Manner::answers;
  bool holdsAnswers = false;
  QStringList capabilities{QStringLiteral("body")};
  QString program = QStringLiteral("Example");
  QString vendor = QStringLiteral("Nobody");
  std::vector<SentNote> notes;
  int timesAsked = 0;

 private:
  void keep(const QDBusMessage& message) {
    const auto arguments = message.arguments();
    EXPECT_EQ(message.signature(), QStringLiteral("susssasa{sv}i"));
    const uint replaces = arguments[1].toUInt();
    const uint number = replaces ? replaces : ++lastNumber;
    notes.push_back({arguments[0].toString().toStdString(), replaces, number, arguments[3].toString().toStdString(),
                     arguments[4].toString().toStdString(), qdbus_cast<QVariantMap>(arguments[6])});
    if (holdsAnswers) {
      held.emplace_back(message, number);
    } else {
      connection.send(message.createReply(number));
    }
  }

  const QString name;
  QDBusConnection connection;
  uint lastNumber = 100;
  std::vector<std::pair<QDBusMessage, uint>> held;
};

}  // namespace quillard::test
