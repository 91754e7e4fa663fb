#pragma once

#include <functional>
#include <memory>
#include <string>

#include "values/Images.h"

namespace quillard::platform {

// The agent's place in the menu bar or tray; there as long as the object lives. Main thread.
class StatusItem {
 public:
  StatusItem() = default;
  StatusItem(const StatusItem&) = delete;
  StatusItem& operator=(const StatusItem&) = delete;
  virtual ~StatusItem() = default;
  virtual void setLength(double points) = 0;
  virtual void setImage(const TemplateImage& image) = 0;
  virtual void setToolTip(const std::string& text) = 0;
};

class StatusBar {
 public:
  virtual ~StatusBar() = default;
  // `onClick` comes on the main thread. Never empty: where the desktop has no place for it now, the item waits for one.
  [[nodiscard]] virtual std::unique_ptr<StatusItem> makeStatusItem(double length, std::function<void()> onClick) = 0;
};

}  // namespace quillard::platform
