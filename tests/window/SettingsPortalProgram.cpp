#include <cstdio>

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusVariant>
#include <QtDBus/QDBusVirtualObject>

// Tells whoever asks for the desktop's colour scheme the number that stands on the command line; asked to "Set" another
// one, it does, and announces that.
namespace {

constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kInterface = "org.freedesktop.portal.Settings";

QVariant wrapped(uint scheme) { return QVariant::fromValue(QDBusVariant(scheme)); }

class Portal final : public QDBusVirtualObject {
 public:
  explicit Portal(uint scheme) : scheme(scheme) {}
  [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }

  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    if (message.member() == "Read") {
      connection.send(message.createReply(QVariant::fromValue(QDBusVariant(wrapped(scheme)))));
    } else if (message.member() == "Set") {
      scheme = message.arguments().at(0).toUInt();
      auto news = QDBusMessage::createSignal(kPath, kInterface, "SettingChanged");
      news << "org.freedesktop.appearance"
           << "color-scheme" << wrapped(scheme);
      connection.send(news);
      connection.send(message.createReply());
    } else {
      return false;
    }
    return true;
  }

 private:
  uint scheme;
};

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  Portal portal{QCoreApplication::arguments().value(1).toUInt()};
  auto bus = QDBusConnection::sessionBus();
  if (!bus.registerVirtualObject(kPath, &portal)) return 1;
  if (!bus.registerService("org.freedesktop.portal.Desktop")) return 1;
  std::puts("answering");
  std::fflush(stdout);
  return QCoreApplication::exec();
}
