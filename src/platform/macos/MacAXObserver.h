#pragma once

#include <string_view>

#include <ApplicationServices/ApplicationServices.h>

#include "platform/desktop/Accessibility.h"
#include "platform/macos/CFHandle.h"

namespace quillard::macos {

// An observer of the system, whose source is in the main run loop. Main thread.
class MacAXObserver final : public platform::AXObserver {
 public:
  explicit MacAXObserver(CFHandle<AXObserverRef> observer) : observer(std::move(observer)) {}
  void removeNotification(const platform::AXUIElement& element, std::string_view notification) override;
  void detachFromRunLoop() override;

 private:
  const CFHandle<AXObserverRef> observer;  // Not empty.
};

}  // namespace quillard::macos
