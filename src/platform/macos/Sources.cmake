# Of this folder: on a Mac they make a library, elsewhere they are checked against declarations of our own.
set(QUILLARD_MACOS_SOURCES
  AXRequests.cpp AXValues.cpp CFValues.cpp DistributedNotice.cpp MacAXObserver.cpp MacAccessibility.cpp MacBundle.cpp
  MacRandom.cpp MacReadScope.cpp MacSecretStore.cpp MacSyntheticEvents.cpp MacUserDefaults.cpp
  MacWindowList.cpp PropertyList.cpp WindowInfo.cpp)
list(TRANSFORM QUILLARD_MACOS_SOURCES PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
