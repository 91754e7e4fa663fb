#include "platform/macos/MacPlatform.h"

#import <AppKit/AppKit.h>
#include <QtNetwork/QSslSocket>

#include "platform/macos/objc/AutoreleasePool.h"
#include "platform/macos/objc/Text.h"
#include "platform/macos/objc/WorkspaceCalls.h"

namespace quillard::macos {
namespace {

// The one that the system makes for each user. Empty when it tells of none: then there is no lock.
std::string temporaryFolder() {
  @autoreleasepool {
    return textFrom(NSTemporaryDirectory()).value_or("");
  }
}

// What programs keep of their own for this user.
std::string dataFolder() {
  @autoreleasepool {
    return textFrom(NSHomeDirectory()).value_or("") + "/Library/Application Support/Quillard";
  }
}

// The system's own copy, which any thread may read.
std::optional<std::int32_t> frontmostProcess() {
  const auto application = appkit::frontmostApplication();
  return application ? std::optional(application->processIdentifier) : std::nullopt;
}

}  // namespace

std::optional<std::string> MacPlatform::prepareWindows() {
  MacApplication::keepQtFromTakingTheFocus();
  return std::nullopt;
}

MacPlatform::MacPlatform(int consoleDescriptor)
    : console(consoleDescriptor),
      executors(threads, runInAutoreleasePool),
      localSockets(localSocketTraits(temporaryFolder()), executors.mainThread()),
      lockFiles(temporaryFolder(), executors.mainThread()),
      notifications(executors.mainThread(), bundle),
      auditFile(dataFolder(), "decisions.log"),
      accessibilityQueue(executors.makeSerialQueue("quillard.accessibility", platform::QualityOfService::standard)),
      accessibility(AXCalls(accessibilityQueue.get()), frontmostProcess, executors),
      workspace(executors.mainThread()),
      windowList(workspace),
      application(executors.mainThread()),
      statusBar(executors.mainThread()) {
  // The one that comes with the application, instead of whatever Qt finds: see packaging/macos.
  QSslSocket::setActiveBackend(QStringLiteral("openssl"));
}

platform::Platform MacPlatform::platform() {
  return {.accessibility = accessibility,
          .application = application,
          .auditFile = auditFile,
          .bundle = bundle,
          .calendar = calendar,
          .capabilities = capabilities,
          .clock = clock,
          .console = console,
          .environment = environment,
          .executors = executors,
          .httpSessions = httpSessions,
          .localSockets = localSockets,
          .lockFiles = lockFiles,
          .loginService = loginService,
          .promptSupplement = {},  // The rules describe its prompts by themselves.
          .random = random,
          .secretStore = secretStore,
          .statusBar = statusBar,
          .syntheticEvents = syntheticEvents,
          .translations = translations,
          .updateService = updateService,
          .userDefaults = userDefaults,
          .userNotifications = notifications,
          .webSockets = webSockets,
          .windowList = windowList,
          .workspace = workspace};
}

// Those of the system are always the ones that are kept.
std::unique_ptr<platform::UserDefaults> MacPlatform::openSettings() { return std::make_unique<MacUserDefaults>(); }

void MacPlatform::prepareForAgent() {
  work.emplace();
  application.setActivationPolicy(platform::ActivationPolicy::accessory);
}

}  // namespace quillard::macos
