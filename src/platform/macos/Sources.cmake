# Of this folder and those below it: what is built everywhere, over the system or over fakes of it, and what only a Mac
# builds.
set(QUILLARD_MACOS_SOURCES
  AXAddressee.cpp AXRequests.cpp AXValues.cpp CFValues.cpp DistributedNotice.cpp MacAXObserver.cpp MacAccessibility.cpp MacBundle.cpp
  MacRandom.cpp MacReadScope.cpp MacSecretStore.cpp MacSyntheticEvents.cpp MacUserDefaults.cpp MacWindowList.cpp
  PropertyList.cpp WindowInfo.cpp
  objc/EnclosedExecutors.cpp objc/MacApplication.cpp objc/MacLoginService.cpp objc/MacUserNotifications.cpp
  objc/MacWorkspace.cpp objc/NotificationGuard.cpp objc/PathPlan.cpp process/MacLockFiles.cpp process/MacSocketPeer.cpp)
list(TRANSFORM QUILLARD_MACOS_SOURCES PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
set(QUILLARD_MACOS_OBJC_SOURCES
  ApplicationCalls.mm AutoreleasePool.mm LoginCalls.mm MacPlatform.mm MacStatusBar.mm MacUpdateService.mm
  NotificationCalls.mm TemplateDrawing.mm UninterruptedWork.mm WorkspaceCalls.mm)
list(TRANSFORM QUILLARD_MACOS_OBJC_SOURCES PREPEND ${CMAKE_CURRENT_LIST_DIR}/objc/)
