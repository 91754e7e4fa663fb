#include "platform/macos/MacAXObserver.h"

#include "platform/macos/AXElement.h"
#include "platform/macos/CFValues.h"

namespace quillard::macos {

void MacAXObserver::removeNotification(const platform::AXUIElement& element, std::string_view notification) {
  const AXElement* const own = elementOf(element);
  const auto name = makeString(notification);
  if (own && name) static_cast<void>(AXObserverRemoveNotification(observer.get(), own->get(), name.get()));
}

void MacAXObserver::detachFromRunLoop() {
  const CFRunLoopSourceRef source = AXObserverGetRunLoopSource(observer.get());
  if (source) CFRunLoopRemoveSource(CFRunLoopGetMain(), source, kCFRunLoopDefaultMode);
}

}  // namespace quillard::macos
