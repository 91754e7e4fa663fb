# The binding to the accessibility bus.
pkg_check_modules(gtk4 REQUIRED IMPORTED_TARGET gtk4-x11 x11)
add_executable(accessibility_qt_dialog LinuxAccessibilityQtDialog.cpp)
target_link_libraries(accessibility_qt_dialog PRIVATE quillard_options Qt6::Widgets)
quillard_common(accessibility_qt_dialog)
add_executable(accessibility_gtk4_dialog LinuxAccessibilityGtk4Dialog.cpp)
target_link_libraries(accessibility_gtk4_dialog PRIVATE PkgConfig::gtk4)  # Its macros are none of our warnings.
quillard_test(linux_accessibility_test
  SOURCES LinuxAccessibilityCostTest.cpp LinuxAccessibilityTreesTest.cpp LinuxAccessibilityWindowsTest.cpp
          ${PROJECT_SOURCE_DIR}/tests/support/QtTestMain.cpp
  LINK quillard_linux_accessibility quillard_linux_x11 quillard_private_desktop quillard_sample_client quillard_detection
       quillard_qt
  LABEL desktop)
add_dependencies(linux_accessibility_test accessibility_qt_dialog accessibility_gtk4_dialog)
target_compile_definitions(linux_accessibility_test PRIVATE
  QT_DIALOG="$<TARGET_FILE:accessibility_qt_dialog>" GTK4_DIALOG="$<TARGET_FILE:accessibility_gtk4_dialog>")
