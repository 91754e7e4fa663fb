#include "platform/linux/shell/PortalColorScheme.h"

#include <chrono>
#include <string>
#include <utility>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>
#include <QtDBus/QDBusServiceWatcher>
#include <QtDBus/QDBusVariant>

#include "platform/linux/system/SmallFile.h"

namespace quillard::desktop {

using qt::ColorScheme;

namespace {

// Qt starts programs in a child that shares this one's memory for a moment (vfork), which ends a program that the
// thread sanitizer watches.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define QUILLARD_CANNOT_START_PROGRAMS
#endif
#endif
#ifdef QUILLARD_CANNOT_START_PROGRAMS
constexpr bool kMayAskPrograms = false;
#else
constexpr bool kMayAskPrograms = true;
#endif
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

constexpr qsizetype kLongestAnswer = 256;
constexpr std::size_t kLargestFile = std::size_t{256} * 1024;
constexpr std::chrono::seconds kAnswerTimeout{5};

QString configurationFolder() {
  const QString set = qEnvironmentVariable("XDG_CONFIG_HOME");
  return set.startsWith('/') ? set : qEnvironmentVariable("HOME") + QStringLiteral("/.config");
}

std::string textOf(const QString& path) { return smallFileText(path.toStdString(), kLargestFile).value_or(""); }

}  // namespace

std::unique_ptr<qt::DesktopColorScheme> watchPortalColorScheme(std::function<void(ColorScheme)> onChange) {
  return std::make_unique<PortalColorScheme>(std::move(onChange));
}

PortalColorScheme::PortalColorScheme(std::function<void(ColorScheme)> onChange) : onChange(std::move(onChange)) {
  connect(&files, &QFileSystemWatcher::fileChanged, this, [this] { readThemes(); });
  readThemes();
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
  portal = scheme;
  decide();
}

void PortalColorScheme::readThemes() {
  const QString folder = configurationFolder();
  const bool isPlasma = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':').contains(QStringLiteral("KDE"));
  themes.toolkitTheme = qEnvironmentVariable("GTK_THEME").toStdString();
  themes.desktopColors = isPlasma ? textOf(folder + QStringLiteral("/kdeglobals")) : "";
  themes.toolkitSettings = textOf(folder + QStringLiteral("/gtk-3.0/settings.ini"));
  // A file that is replaced is not watched any more.
  for (const char* const name : {"/kdeglobals", "/gtk-3.0/settings.ini", "/dconf/user"}) {
    const QString path = folder + QLatin1String(name);
    if (QFile::exists(path) && !files.files().contains(path)) files.addPath(path);
  }
  askSetting("color-scheme", &ThemeFacts::colorScheme);
  askSetting("gtk-theme", &ThemeFacts::gtkTheme);
  QMetaObject::invokeMethod(
      this, [this] { decide(); }, Qt::QueuedConnection);
}

// What is not installed, or does not know the key, says nothing.
void PortalColorScheme::askSetting(const char* key, std::string ThemeFacts::*place) {
  if (!kMayAskPrograms) return;
  auto* const program = new QProcess(this);
  connect(program, &QProcess::finished, this, [this, program, place] {
    themes.*place = program->readAllStandardOutput().left(kLongestAnswer).toStdString();
    program->deleteLater();
    decide();
  });
  connect(program, &QProcess::errorOccurred, program, &QObject::deleteLater);
  QTimer::singleShot(kAnswerTimeout, program, &QProcess::kill);
  program->start(QStringLiteral("gsettings"),
                 {QStringLiteral("get"), QStringLiteral("org.gnome.desktop.interface"), QLatin1String(key)});
}

void PortalColorScheme::decide() {
  const auto scheme = portal == ColorScheme::noPreference ? colorSchemeOf(themes) : portal;
  if (scheme == known) return;
  known = scheme;
  onChange(scheme);
}

}  // namespace quillard::desktop
