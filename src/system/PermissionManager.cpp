#include "system/PermissionManager.h"

#include <string>

#include "foundation/UrlComponents.h"

namespace quillard {

void PermissionManager::openPrivacySettings(std::string_view anchor) {
  const std::string url = "x-apple.systempreferences:com.apple.preference.security?" + std::string(anchor);
  if (UrlComponents::parse(url)) workspace.openURL(url);
}

}  // namespace quillard
