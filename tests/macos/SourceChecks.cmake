# Checks of every source that a Mac compiles (sources/), and of the checks themselves.
set(folders)
foreach(library Qt6::Core Qt6::Widgets Qt6::Network PkgConfig::qrcodegencpp)
  get_target_property(library_folders ${library} INTERFACE_INCLUDE_DIRECTORIES)
  if(library_folders)
    list(APPEND folders ${library_folders})
  endif()
endforeach()
list(REMOVE_DUPLICATES folders)
set(check ${CMAKE_CURRENT_SOURCE_DIR}/check-sources.sh)
# Named after its compiler: a folder keeps the one that it was made for.
set(build ${CMAKE_CURRENT_BINARY_DIR}/sources-clang-19)
add_test(NAME MacSources.AreFound
  COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_SOURCE_DIR}/sources -B ${build} -G Ninja "-DQT_FOLDERS=${folders}"
    -DCOMPILED_ALONE=${PROJECT_BINARY_DIR}/compiled-alone.txt)
set_tests_properties(MacSources.AreFound PROPERTIES FIXTURES_SETUP mac_sources LABELS macos)
add_test(NAME MacSources.AreOfTheRightTypes COMMAND ${CMAKE_COMMAND} --build ${build} --target types -- -k 0)
add_test(NAME MacSources.LoseNoObjects COMMAND ${CMAKE_COMMAND} --build ${build} --target leaks -- -k 0)
# Both are builds in one folder, each with as many jobs as there are processors.
cmake_host_system_information(RESULT processors QUERY NUMBER_OF_LOGICAL_CORES)
set_tests_properties(MacSources.AreOfTheRightTypes MacSources.LoseNoObjects PROPERTIES
  FIXTURES_REQUIRED mac_sources RESOURCE_LOCK mac_sources PROCESSORS ${processors} LABELS macos TIMEOUT 1800
  COST 300)
file(GLOB mistakes CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/mistakes/*)
add_test(NAME MacSources.MistakesAreFound
  COMMAND ${check} mistakes ${PROJECT_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR}/declarations ${mistakes})
set_tests_properties(MacSources.MistakesAreFound PROPERTIES LABELS macos TIMEOUT 600)
add_test(NAME MacSources.SayHowManyLinesNoTestRuns
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/count-lines.sh ${PROJECT_SOURCE_DIR})
set_tests_properties(MacSources.SayHowManyLinesNoTestRuns PROPERTIES LABELS macos)
