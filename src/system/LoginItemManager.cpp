#include "system/LoginItemManager.h"

#include <string_view>

#include "foundation/TextCatalogue.h"
#include "system/ApplicationBundle.h"

namespace quillard {

namespace {

constexpr std::string_view kLoginItemsSettings = "x-apple.systempreferences:com.apple.LoginItems-Settings.extension";

LoginItemStatus statusOf(platform::LoginServiceStatus status) {
  switch (status) {
    case platform::LoginServiceStatus::notRegistered:
      return {LoginItemState::disabled, {}};
    case platform::LoginServiceStatus::enabled:
      return {LoginItemState::enabled, {}};
    case platform::LoginServiceStatus::requiresApproval:
      return {LoginItemState::requiresApproval, {}};
    case platform::LoginServiceStatus::notFound:
      return LoginItemStatus::unavailable(catalogued("macOS could not find this app bundle as a login item."));
    case platform::LoginServiceStatus::unknown:
      break;
  }
  return LoginItemStatus::unavailable(catalogued("macOS returned an unknown Login Items status."));
}

}  // namespace

LoginItemManager::LoginItemManager(const platform::Bundle& bundle, platform::LoginService& service,
                                   platform::Workspace& workspace, platform::Console& console)
    : bundle(bundle), service(service), workspace(workspace), console(console) {}

LoginItemStatus LoginItemManager::status() {
  if (!isApplicationBundle(bundle)) {
    return LoginItemStatus::unavailable(catalogued("Run the built app bundle to enable launch at login."));
  }
  return statusOf(service.status());
}

LoginItemStatus LoginItemManager::registerApplication() {
  if (!isApplicationBundle(bundle)) return status();
  if (const auto error = service.registerMainApplication()) {
    console.writeLine("Unable to register Quillard as a login item: " + *error);
  }
  return status();
}

void LoginItemManager::openSettings() { workspace.openURL(kLoginItemsSettings); }

}  // namespace quillard
