# The detector and the click executor over all bindings at once.
quillard_test(verdicts_test
  SOURCES VerdictsTest.cpp VerdictTable.cpp ${PROJECT_SOURCE_DIR}/tests/support/QtTestMain.cpp
  LINK quillard_click quillard_linux_accessibility quillard_linux_x11 quillard_qt quillard_simulated
       quillard_private_desktop quillard_sample_client
  LABEL desktop)
quillard_test(presses_test
  SOURCES PressesTest.cpp ${PROJECT_SOURCE_DIR}/tests/support/QtTestMain.cpp
  LINK quillard_click quillard_linux_accessibility quillard_linux_x11 quillard_qt quillard_simulated
       quillard_private_desktop
  LABEL desktop)
quillard_test(scan_cost_test
  SOURCES ScanCostTest.cpp ${PROJECT_SOURCE_DIR}/tests/support/QtTestMain.cpp
  LINK quillard_click quillard_linux_accessibility quillard_linux_x11 quillard_qt quillard_simulated
       quillard_private_desktop
  LABEL desktop)
