#include <cstdio>

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusVariant>
#include <QtDBus/QDBusVirtualObject>

// What a desktop's panel has for tray icons that are reached over the bus: takes their registrations, and says so on
// standard output.
namespace {

class Watcher final : public QDBusVirtualObject {
 public:
  bool hasHost = true;

  [[nodiscard]] QString introspect(const QString& /*path*/) const override {
    return R"(<interface name="org.kde.StatusNotifierWatcher">
      <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
      <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
      <property name="ProtocolVersion" type="i" access="read"/>
      <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
    </interface>)";
  }

  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    if (message.member() == "RegisterStatusNotifierItem") {
      std::printf("registered %s %s\n", qPrintable(message.service()),
                  qPrintable(message.arguments().at(0).toString()));
      std::fflush(stdout);
      connection.send(message.createReply());
    } else if (message.interface() == "org.freedesktop.DBus.Properties" && message.member() == "Get") {
      connection.send(message.createReply(QVariant::fromValue(QDBusVariant(property(message)))));
    } else {
      return false;
    }
    return true;
  }

 private:
  [[nodiscard]] QVariant property(const QDBusMessage& message) const {
    const QString name = message.arguments().at(1).toString();
    if (name == "IsStatusNotifierHostRegistered") return hasHost;
    if (name == "ProtocolVersion") return 0;
    return QStringList{};
  }
};

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  Watcher watcher;
  auto bus = QDBusConnection::sessionBus();
  if (!bus.registerVirtualObject("/StatusNotifierWatcher", &watcher)) return 1;
  if (!bus.registerService("org.kde.StatusNotifierWatcher")) return 1;
  // With an argument, whoever shows the icons starts a little later.
  watcher.hasHost = argc == 1;
  QTimer::singleShot(300, [&watcher] { watcher.hasHost = true; });
  std::puts("watching");
  std::fflush(stdout);
  return QCoreApplication::exec();
}
