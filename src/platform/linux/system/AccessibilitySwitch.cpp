#include "platform/linux/system/AccessibilitySwitch.h"

#include <utility>

#include <QtDBus/QDBusVariant>

#include "foundation/PrintableText.h"

namespace quillard::desktop {

bool AccessibilitySwitch::turnOn(std::function<void(std::optional<std::string>)> completion) {
  auto message =
      QDBusMessage::createMethodCall(QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
                                     QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Set"));
  message << QStringLiteral("org.a11y.Status") << QStringLiteral("IsEnabled")
          << QVariant::fromValue(QDBusVariant(QVariant(true)));
  return bus.call(message, timeout, [completion = std::move(completion)](const QDBusMessage& reply) {
    if (reply.type() == QDBusMessage::ReplyMessage) return completion(std::nullopt);
    completion(printableText((reply.errorName() + QStringLiteral(": ") + reply.errorMessage()).toStdString()));
  });
}

}  // namespace quillard::desktop
