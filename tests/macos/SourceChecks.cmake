# Every source and each architecture by Clang, whichever compiler builds the rest.
file(GLOB_RECURSE sources CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/src/platform/macos/*.cpp ${PROJECT_SOURCE_DIR}/src/platform/macos/*.mm)
list(FILTER sources EXCLUDE REGEX "Test\\.cpp$")
# These need Qt's headers, which take their time.
set(sources_with_qt ${PROJECT_SOURCE_DIR}/src/platform/macos/objc/LoopEnd.cpp)
list(REMOVE_ITEM sources ${sources_with_qt})
foreach(name MacAgentRun.cpp MacPlatform.cpp MacSystem.mm MacToolRun.cpp)
  list(APPEND sources_with_qt ${PROJECT_SOURCE_DIR}/src/app/${name})
endforeach()
get_target_property(qt_folders Qt6::Widgets INTERFACE_INCLUDE_DIRECTORIES)
get_target_property(qt_core_folders Qt6::Core INTERFACE_INCLUDE_DIRECTORIES)
get_target_property(qt_network_folders Qt6::Network INTERFACE_INCLUDE_DIRECTORIES)
get_target_property(qt_web_sockets_folders Qt6::WebSockets INTERFACE_INCLUDE_DIRECTORIES)
set(qt_flags "-DQUILLARD_VERSION=\"\"")
foreach(folder IN LISTS qt_core_folders qt_folders qt_network_folders qt_web_sockets_folders)
  string(APPEND qt_flags " -isystem${folder}")
endforeach()
file(GLOB mistakes CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/mistakes/*)
set(check ${CMAKE_CURRENT_SOURCE_DIR}/check-sources.sh)
set(folders ${PROJECT_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR}/declarations)
foreach(architecture arm64 x86_64)
  add_test(NAME MacSources.AreOfTheRightTypesFor_${architecture}
    COMMAND ${check} types ${architecture} ${folders} ${sources})
  add_test(NAME MacSources.OfTheProgramAreOfTheRightTypesFor_${architecture}
    COMMAND ${check} types ${architecture} ${folders} ${sources_with_qt})
  set_tests_properties(MacSources.OfTheProgramAreOfTheRightTypesFor_${architecture} PROPERTIES
    LABELS macos TIMEOUT 1800 ENVIRONMENT "QUILLARD_CHECK_FLAGS=${qt_flags}")
endforeach()
# The core, and what both systems share: what compiles here may not there, where 64 bits are another type, say. The
# headers of the C++ and C libraries are those of this system; what macOS's lack, tests/architecture bans. Qt's take
# their time, and know no architecture.
get_target_property(qrcode_folder PkgConfig::qrcodegencpp INTERFACE_INCLUDE_DIRECTORIES)
set(core_flags "-DQUILLARD_VERSION=\"\"")
foreach(folder IN LISTS qrcode_folder)
  string(APPEND core_flags " -isystem${folder}")
endforeach()
set(core_sources)
foreach(folder agent app approvals click detection foundation platform/posix recording relay status system)
  file(GLOB folder_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${folder}/*.cpp)
  list(APPEND core_sources ${folder_sources})
endforeach()
list(FILTER core_sources EXCLUDE REGEX "Test\\.cpp$|/app/(Linux|Mac[APST]|AgentRun|ToolRun|RunningAgents)")
file(GLOB qt_sources CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/src/platform/qt/*.cpp ${PROJECT_SOURCE_DIR}/src/platform/qt/window/*.cpp)
list(FILTER qt_sources EXCLUDE REGEX "Test\\.cpp$|/(PortalColorScheme|ThreadTraits|TrayWatchLinux)\\.cpp$")
foreach(architecture arm64 x86_64)
  add_test(NAME MacSources.OfTheCoreAreOfTheRightTypesFor_${architecture}
    COMMAND ${check} types ${architecture} ${folders} ${core_sources})
  set_tests_properties(MacSources.OfTheCoreAreOfTheRightTypesFor_${architecture} PROPERTIES
    LABELS macos TIMEOUT 1800 ENVIRONMENT "QUILLARD_CHECK_FLAGS=${core_flags}")
endforeach()
add_test(NAME MacSources.OverQtAreOfTheRightTypes COMMAND ${check} types arm64 ${folders} ${qt_sources})
set_tests_properties(MacSources.OverQtAreOfTheRightTypes PROPERTIES
  LABELS macos TIMEOUT 1800 ENVIRONMENT "QUILLARD_CHECK_FLAGS=${qt_flags}")
# As the hosted build makes them: for the system that it runs on.
add_test(NAME MacSources.UseNothingThatANewerSystemDeprecates
  COMMAND ${check} types arm64 ${folders} ${sources})
set_tests_properties(MacSources.UseNothingThatANewerSystemDeprecates PROPERTIES
  LABELS macos TIMEOUT 1800 ENVIRONMENT QUILLARD_CHECK_SYSTEM=15.0)
add_test(NAME MacSources.LoseNoObjects COMMAND ${check} leaks ${folders} ${sources})
add_test(NAME MacSources.MistakesAreFound COMMAND ${check} mistakes ${folders} ${mistakes})
set_tests_properties(MacSources.AreOfTheRightTypesFor_arm64 MacSources.AreOfTheRightTypesFor_x86_64
  MacSources.LoseNoObjects MacSources.MistakesAreFound PROPERTIES LABELS macos TIMEOUT 1800)
if(NOT "${sources}" MATCHES "MacAccessibility.cpp")
  message(FATAL_ERROR "The sources for macOS were not found.")
endif()
