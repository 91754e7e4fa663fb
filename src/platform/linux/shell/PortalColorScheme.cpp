#include "platform/linux/shell/PortalColorScheme.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>
#include <QtDBus/QDBusServiceWatcher>
#include <QtDBus/QDBusVariant>

namespace quillard::desktop {

using qt::ColorScheme;

namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kSettings = "org.freedesktop.portal.Settings";
constexpr const char* kGroup = "org.freedesktop.appearance";
constexpr const char* kKey = "color-scheme";

// The number, out of as many variants as it is wrapped in: portals differ there.
ColorScheme schemeOf(QVariant value) {
  constexpr int kDeepest = 4;
  for (int depth = 0; depth < kDeepest && value.userType() == qMetaTypeId<QDBusVariant>(); ++depth) {
    value = value.value<QDBusVariant>().variant();
  }
  switch (value.userType() == QMetaType::UInt ? value.toUInt() : 0) {
    case 1:
      return ColorScheme::dark;
    case 2:
      return ColorScheme::light;
    default:
      return ColorScheme::noPreference;
  }
}

}  // namespace

std::unique_ptr<qt::DesktopColorScheme> watchPortalColorScheme(std::function<void(ColorScheme)> onChange) {
  return std::make_unique<PortalColorScheme>(std::move(onChange));
}

PortalColorScheme::PortalColorScheme(std::function<void(ColorScheme)> onChange) : onChange(std::move(onChange)) {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  bus.connect(kPortal, kPath, kSettings, "SettingChanged", this, SLOT(takeChange(QDBusMessage)));
  auto* services = new QDBusServiceWatcher(kPortal, bus, QDBusServiceWatcher::WatchForRegistration, this);
  connect(services, &QDBusServiceWatcher::serviceRegistered, this, [this] { ask(); });
  ask();
}

void PortalColorScheme::ask() {
  auto question = QDBusMessage::createMethodCall(kPortal, kPath, kSettings, "Read");
  question << kGroup << kKey;
  question.setAutoStartService(false);
  auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
  connect(answer, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* call) {
    const QDBusPendingReply<QVariant> value = *call;
    if (value.isValid()) take(schemeOf(value.value()));
    call->deleteLater();
  });
}

void PortalColorScheme::takeChange(const QDBusMessage& news) {
  const auto arguments = news.arguments();
  if (arguments.size() == 3 && arguments[0].toString() == kGroup && arguments[1].toString() == kKey) {
    take(schemeOf(arguments[2]));
  }
}

void PortalColorScheme::take(ColorScheme scheme) {
  if (scheme == known) return;
  known = scheme;
  onChange(scheme);
}

}  // namespace quillard::desktop
