# Of this folder and those below it: what is built everywhere, over the system or over fakes of it, and what only a Mac
# builds.
set(QUILLARD_MACOS_SOURCES
  AXRequests.cpp AXValues.cpp CFValues.cpp DistributedNotice.cpp MacAXObserver.cpp MacAccessibility.cpp MacBundle.cpp
  MacRandom.cpp MacReadScope.cpp MacSecretStore.cpp MacSyntheticEvents.cpp MacUserDefaults.cpp MacWindowList.cpp
  PropertyList.cpp WindowInfo.cpp
  objc/EnclosedExecutors.cpp objc/LoginServiceMapping.cpp objc/NotificationGuard.cpp objc/PathPlan.cpp
  objc/WorkspaceMapping.cpp process/MacLockFiles.cpp)
list(TRANSFORM QUILLARD_MACOS_SOURCES PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
set(QUILLARD_MACOS_OBJC_SOURCES
  AutoreleasePool.mm MacApplication.mm MacLoginService.mm MacPlatform.mm MacStatusBar.mm MacUpdateService.mm
  MacUserNotifications.mm MacWorkspace.mm TemplateDrawing.mm UninterruptedWork.mm)
list(TRANSFORM QUILLARD_MACOS_OBJC_SOURCES PREPEND ${CMAKE_CURRENT_LIST_DIR}/objc/)
