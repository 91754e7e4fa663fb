#include "platform/linux/shell/TrayWatch.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <QtCore/QAbstractNativeEventFilter>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>
#include <QtDBus/QDBusServiceWatcher>
#include <QtGui/QGuiApplication>
#include <xcb/xcb.h>

namespace quillard::desktop {
namespace {

constexpr const char* kWatcherService = "org.kde.StatusNotifierWatcher";

// A panel that has begun to start is asked a few times, until it has.
constexpr std::chrono::seconds kHostInterval{2};
constexpr int kMostHostChecks = 30;

using FreeingPointer = std::unique_ptr<void, decltype(&std::free)>;

xcb_atom_t atom(xcb_connection_t* connection, const std::string& name) {
  const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
  auto* reply = xcb_intern_atom_reply(connection, cookie, nullptr);
  const FreeingPointer released{reply, &std::free};
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

// Both kinds of trays: those on the bus, which announce a service, and those of X11, which own a selection and announce
// that to the root window.
class LinuxTrayWatch final : public QObject, public TrayWatch, private QAbstractNativeEventFilter {
 public:
  explicit LinuxTrayWatch(std::function<void()> onFound) : onFound(std::move(onFound)) {
    watchBus();
    watchDisplay();
  }
  LinuxTrayWatch(const LinuxTrayWatch&) = delete;
  LinuxTrayWatch& operator=(const LinuxTrayWatch&) = delete;
  ~LinuxTrayWatch() override { QCoreApplication::instance()->removeNativeEventFilter(this); }

 private:
  void watchBus() {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    auto* services = new QDBusServiceWatcher(kWatcherService, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(services, &QDBusServiceWatcher::serviceRegistered, this, [this] { askForHost(); });
    askForHost();
  }

  // Registrations are taken by the watcher, but shown by its host, which may start later; Qt wants both to be there.
  void askForHost() {
    auto question = QDBusMessage::createMethodCall(kWatcherService, "/StatusNotifierWatcher",
                                                   "org.freedesktop.DBus.Properties", "Get");
    question << kWatcherService << "IsStatusNotifierHostRegistered";
    question.setAutoStartService(false);
    auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* call) {
      const QDBusPendingReply<QVariant> hasHost = *call;
      call->deleteLater();
      takeAnswer(hasHost.isValid(), hasHost.isValid() && hasHost.value().toBool());
    });
  }

  void takeAnswer(bool hasWatcher, bool hasHost) {
    if (hasHost) {
      found();
    } else if (hasWatcher && !isFound && ++hostless <= kMostHostChecks) {
      QTimer::singleShot(kHostInterval, this, [this] { askForHost(); });
    } else {
      checkDisplay();  // Only now: a tray on the bus, where there is one, is the better one.
    }
  }

  void watchDisplay() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection()) return;
    connection = x11->connection();
    manager = atom(connection, "MANAGER");
    traySelection = atom(connection, "_NET_SYSTEM_TRAY_S0");
    QCoreApplication::instance()->installNativeEventFilter(this);
    if (!QDBusConnection::sessionBus().isConnected()) checkDisplay();
  }

  void checkDisplay() {
    if (!connection) return;
    auto* reply =
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, traySelection), nullptr);
    const FreeingPointer released{reply, &std::free};
    if (reply && reply->owner != XCB_WINDOW_NONE) found();
  }

  bool nativeEventFilter(const QByteArray& type, void* message, qintptr* /*result*/) override {
    if (type != "xcb_generic_event_t") return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE) return false;
    const auto* news = static_cast<const xcb_client_message_event_t*>(message);
    if (news->type == manager && news->format == 32 && news->data.data32[1] == traySelection) found();
    return false;
  }

  void found() {
    if (isFound) return;
    isFound = true;
    QMetaObject::invokeMethod(
        this, [this] { onFound(); }, Qt::QueuedConnection);
  }

  const std::function<void()> onFound;
  bool isFound = false;
  int hostless = 0;                        // How often there was a watcher without a host.
  xcb_connection_t* connection = nullptr;  // Absent where the display is no X11.
  xcb_atom_t manager = XCB_ATOM_NONE;
  xcb_atom_t traySelection = XCB_ATOM_NONE;
};

}  // namespace

std::unique_ptr<TrayWatch> TrayWatch::start(std::function<void()> onFound) {
  return std::make_unique<LinuxTrayWatch>(std::move(onFound));
}

}  // namespace quillard::desktop
