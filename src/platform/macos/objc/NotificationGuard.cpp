#include "platform/macos/objc/NotificationGuard.h"

namespace quillard::macos {

bool mayUseNotificationCenter(const std::optional<std::string>& bundleIdentifier, std::string_view bundlePath) {
  constexpr std::string_view kExtension = ".app";
  while (bundlePath.ends_with('/')) bundlePath.remove_suffix(1);
  if (!bundleIdentifier || bundleIdentifier->empty() || !bundlePath.ends_with(kExtension)) return false;
  bundlePath.remove_suffix(kExtension.size());
  return !bundlePath.empty() && !bundlePath.ends_with('/');
}

}  // namespace quillard::macos
