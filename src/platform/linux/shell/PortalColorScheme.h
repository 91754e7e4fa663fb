#pragma once

#include <QtCore/QFileSystemWatcher>
#include <QtCore/QObject>
#include <QtDBus/QDBusMessage>

#include "platform/linux/shell/DesktopTheme.h"
#include "platform/qt/window/DesktopColorScheme.h"

namespace quillard::desktop {

// The choice as the desktop's portal tells it, from whenever there is a portal; none is started for the sake of this.
// Where there is none, or it leaves the choice open, what the desktop's own settings say (DesktopTheme.h): they are
// read once, and again when their files change, by short programs that nobody waits for.
class PortalColorScheme final : public QObject, public qt::DesktopColorScheme {
  Q_OBJECT

 public:
  explicit PortalColorScheme(std::function<void(qt::ColorScheme)> onChange);

 public slots:
  // Of any setting of the desktop.
  void takeChange(const QDBusMessage& news);

 private:
  void ask();
  void take(qt::ColorScheme scheme);
  void readThemes();
  void askSetting(const char* key, std::string ThemeFacts::*place);
  void decide();

  const std::function<void(qt::ColorScheme)> onChange;
  qt::ColorScheme portal = qt::ColorScheme::noPreference;
  ThemeFacts themes;
  qt::ColorScheme known = qt::ColorScheme::noPreference;  // What was told.
  QFileSystemWatcher files;
};

// What a status window watches here (see DesktopColorScheme.h).
[[nodiscard]] std::unique_ptr<qt::DesktopColorScheme> watchPortalColorScheme(
    std::function<void(qt::ColorScheme)> onChange);

}  // namespace quillard::desktop
