# The binding to the X server.
quillard_library(quillard_sample_client
  SOURCES SampleClient.cpp
  PUBLIC quillard_platform PkgConfig::xcb)
target_include_directories(quillard_sample_client PUBLIC ${PROJECT_SOURCE_DIR}/tests)
quillard_test(x11_windows_test
  SOURCES X11WindowsTest.cpp
  LINK quillard_linux_x11 quillard_private_desktop quillard_sample_client
  LABEL desktop)
quillard_test(linux_window_list_test
  SOURCES LinuxWindowListTest.cpp ${PROJECT_SOURCE_DIR}/tests/support/QtTestMain.cpp
  LINK quillard_linux_x11 quillard_qt quillard_private_desktop quillard_sample_client quillard_detection
  LABEL desktop)
quillard_test(linux_workspace_test
  SOURCES LinuxWorkspaceTest.cpp ${PROJECT_SOURCE_DIR}/tests/support/QtTestMain.cpp
  LINK quillard_linux_x11 quillard_qt quillard_private_desktop quillard_sample_client quillard_detection
  LABEL desktop)
quillard_test(xtest_events_test
  SOURCES XTestEventsTest.cpp
  LINK quillard_linux_x11 quillard_private_desktop quillard_sample_client
  LABEL desktop)
