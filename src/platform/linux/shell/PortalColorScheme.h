#pragma once

#include <QtCore/QObject>
#include <QtDBus/QDBusMessage>

#include "platform/qt/window/DesktopColorScheme.h"

namespace quillard::desktop {

// The choice as the desktop's portal tells it, from whenever there is a portal; none is started for the sake of this.
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

  const std::function<void(qt::ColorScheme)> onChange;
  qt::ColorScheme known = qt::ColorScheme::noPreference;
};

// What a status window watches here (see DesktopColorScheme.h).
[[nodiscard]] std::unique_ptr<qt::DesktopColorScheme> watchPortalColorScheme(
    std::function<void(qt::ColorScheme)> onChange);

}  // namespace quillard::desktop
