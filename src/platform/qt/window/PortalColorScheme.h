#pragma once

#include <QtCore/QObject>
#include <QtDBus/QDBusMessage>

#include "platform/qt/window/DesktopColorScheme.h"

namespace quillard::qt {

// The choice as the desktop's portal tells it, from whenever there is a portal; none is started for the sake of this.
class PortalColorScheme final : public QObject, public DesktopColorScheme {
  Q_OBJECT

 public:
  explicit PortalColorScheme(std::function<void(ColorScheme)> onChange);

 public slots:
  // Of any setting of the desktop.
  void takeChange(const QDBusMessage& news);

 private:
  void ask();
  void take(ColorScheme scheme);

  const std::function<void(ColorScheme)> onChange;
  ColorScheme known = ColorScheme::noPreference;
};

}  // namespace quillard::qt
