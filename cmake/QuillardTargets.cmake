# One library a folder, with its true dependencies; unit tests beside the sources.

add_library(quillard_options INTERFACE)
# Fields left out of a designated initializer have their default, which is what leaving them out means. GCC 12 sees
# overlaps where a text is put before another one (its bug 105651), and, when it optimises, reads of empty optionals and copies of
# impossible length: it is not asked.
target_compile_options(quillard_options INTERFACE
  -Wall -Wextra -Wno-missing-field-initializers -Wpedantic -Wconversion -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wundef $<$<BOOL:${QUILLARD_WARNINGS_AS_ERRORS}>:-Werror>
  $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local -Wduplicated-cond -Wlogical-op -Wno-restrict>
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-maybe-uninitialized -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread>
  $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wshadow -Wthread-safety>)
target_include_directories(quillard_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
# A header that is compiled once suits only what is compiled alike: position independence and threads are the same
# everywhere.
target_compile_options(quillard_options INTERFACE -fPIC -pthread
  $<$<AND:$<BOOL:${QUILLARD_PRECOMPILE}>,$<CXX_COMPILER_ID:Clang>>:SHELL:-Xclang -fno-pch-timestamp>
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-fno-semantic-interposition>)
if(QUILLARD_SANITIZE)
  target_compile_options(quillard_options INTERFACE
    -fsanitize=${QUILLARD_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(quillard_options INTERFACE -fsanitize=${QUILLARD_SANITIZE})
endif()

# Clang's debug builds optimise a little what tests and simulations spend their time in: libraries, not the tests
# themselves. That costs a fifth more to compile, and runs three times as fast.
function(quillard_optimise_a_little target)
  target_compile_options(${target} PRIVATE $<$<AND:$<CXX_COMPILER_ID:Clang>,$<CONFIG:Debug>>:-O1>)
endfunction()

# Headers that nearly every source reads, compiled once: `quillard_pch` for sources, `quillard_test_pch` for tests.
function(quillard_make_precompiled_headers)
  quillard_precompiled_target(quillard_pch
    <algorithm> <array> <chrono> <cstdint> <functional> <map> <memory> <optional> <set> <span> <sstream> <string>
    <string_view> <unordered_map> <unordered_set> <utility> <variant> <vector> <nlohmann/json.hpp>)
  quillard_optimise_a_little(quillard_pch)
  if(QUILLARD_TESTS)
    quillard_precompiled_target(quillard_test_pch
      <gmock/gmock.h> <gtest/gtest.h> <rapidcheck.h> <rapidcheck/gtest.h> <nlohmann/json.hpp>
      <chrono> <fstream> <functional> <map> <set> <span> <sstream> <unordered_map> <variant>)
    target_link_libraries(quillard_test_pch PRIVATE GTest::gtest GTest::gmock rapidcheck)
  endif()
endfunction()

function(quillard_precompiled_target name)
  add_library(${name} OBJECT ${PROJECT_SOURCE_DIR}/cmake/Empty.cpp)
  target_link_libraries(${name} PRIVATE quillard_options nlohmann_json::nlohmann_json)
  target_precompile_headers(${name} PRIVATE ${ARGN})
  # It names the files that it was made from by their full paths, so that it is of no use to another clone.
  set_target_properties(${name} PROPERTIES CXX_COMPILER_LAUNCHER "")
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(${name} PRIVATE -fpch-instantiate-templates)
  endif()
endfunction()

function(quillard_precompiled_headers target which)
  if(QUILLARD_PRECOMPILE)
    target_precompile_headers(${target} REUSE_FROM ${which})
  endif()
endfunction()

# Sources with a name of their own that a neighbour has for something else: they stay alone where the sources of a folder
# are compiled together (CMAKE_UNITY_BUILD), which saves half of the time. Called in the folder of their targets.
function(quillard_compile_alone)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  list(TRANSFORM ARGN PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  set_property(GLOBAL APPEND PROPERTY QUILLARD_COMPILED_ALONE ${ARGN})
endfunction()

# Their full paths, one a line in compiled-alone.txt of the build folder: for the checks of what a Mac compiles.
function(quillard_write_compiled_alone)
  get_property(files GLOBAL PROPERTY QUILLARD_COMPILED_ALONE)
  list(JOIN files "\n" lines)
  file(WRITE ${PROJECT_BINARY_DIR}/compiled-alone.txt "${lines}\n")
endfunction()

# Which library each folder of src/ is, and which others it links: what tests/architecture reads, so that the arrows are
# declared where they are linked, and nowhere else. The file modules.txt of the build folder has one line for each folder:
# its name below src/, its target, and the targets of ours that it links.
function(quillard_list_module name)
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR})
  if(folder MATCHES "^\\.\\./")
    return()
  endif()
  set(line "${folder}\t${name}")
  foreach(link IN LISTS ARGN)
    if(link MATCHES "^quillard_")
      string(APPEND line "\t${link}")
    endif()
  endforeach()
  set_property(GLOBAL APPEND_STRING PROPERTY QUILLARD_MODULES "${line}\n")
endfunction()

function(quillard_write_modules)
  get_property(modules GLOBAL PROPERTY QUILLARD_MODULES)
  file(WRITE ${PROJECT_BINARY_DIR}/modules.txt "${modules}")
endfunction()

# quillard_library(NAME SOURCES ... [PUBLIC targets...] [PRIVATE targets...]): a folder, its subfolders included unless
# they are libraries of their own.
function(quillard_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  quillard_list_module(${name} ${ARG_PUBLIC} ${ARG_PRIVATE})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE quillard_options ${ARG_PRIVATE})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  quillard_precompiled_headers(${name} quillard_pch)
  quillard_optimise_a_little(${name})
endfunction()

# quillard_header_library(NAME [SUBFOLDERS folders...] [INTERFACE targets...]): headers only; `<NAME>_headers` compiles
# each of them alone, among the tests, in builds that compile each source alone.
function(quillard_header_library name)
  cmake_parse_arguments(ARG "" "" "SUBFOLDERS;INTERFACE" ${ARGN})
  quillard_list_module(${name} ${ARG_INTERFACE})
  add_library(${name} INTERFACE)
  target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} INTERFACE ${ARG_INTERFACE})
  if(QUILLARD_SANITIZE OR CMAKE_UNITY_BUILD OR NOT QUILLARD_TESTS)
    return()  # Nothing of it runs.
  endif()
  set(patterns ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  foreach(folder IN LISTS ARG_SUBFOLDERS)
    list(APPEND patterns ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.h)
  endforeach()
  file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/src ${patterns})
  set(probes)
  foreach(header IN LISTS headers)
    string(MAKE_C_IDENTIFIER ${header} stem)
    set(probe ${CMAKE_CURRENT_BINARY_DIR}/${stem}.cpp)
    file(CONFIGURE OUTPUT ${probe} CONTENT "#include \"${header}\"\n#include \"${header}\"\n")
    list(APPEND probes ${probe})
  endforeach()
  add_library(${name}_headers OBJECT ${probes})
  target_link_libraries(${name}_headers PRIVATE quillard_options ${name})
endfunction()

# What ./test builds when it is asked for some tests only: the file test-programs.txt of the build folder has one line for
# each program, its target, folder and sources. CTest knows each folder as a label of the tests in it.
function(quillard_list_test_program name)
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set_property(DIRECTORY PROPERTY LABELS ${folder})
  set(line "${name}\t${folder}")
  foreach(source IN LISTS ARGN)
    get_filename_component(path ${source} ABSOLUTE)
    string(APPEND line "\t${path}")
  endforeach()
  set_property(GLOBAL APPEND_STRING PROPERTY QUILLARD_TEST_PROGRAMS "${line}\n")
endfunction()

function(quillard_write_test_programs)
  get_property(programs GLOBAL PROPERTY QUILLARD_TEST_PROGRAMS)
  file(WRITE ${PROJECT_BINARY_DIR}/test-programs.txt "${programs}")
endfunction()

# Threads of what is tested have stacks as small as a Mac's. Sanitizers need more for themselves.
if(QUILLARD_TESTS AND CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT QUILLARD_SANITIZE)
  add_library(quillard_small_stacks OBJECT ${PROJECT_SOURCE_DIR}/tests/support/SmallStacks.cpp)
  target_link_libraries(quillard_small_stacks PRIVATE quillard_options)
endif()
function(quillard_limit_stacks target)
  if(TARGET quillard_small_stacks)
    target_link_libraries(${target} PRIVATE quillard_small_stacks)
  endif()
endfunction()

# quillard_program(NAME SOURCES ... LINK targets...): an executable that is no test.
function(quillard_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  quillard_list_module(${name} ${ARG_LINK})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE quillard_options ${ARG_LINK})
endfunction()

# quillard_test(NAME SOURCES ... LINK targets... [LABEL label] [TIMEOUT s] [GROUPED pattern]): one GoogleTest program, each of its tests
# known to CTest, but those that match the pattern: quillard_test_group runs these.
function(quillard_test name)
  if(NOT QUILLARD_TESTS)
    return()
  endif()
  cmake_parse_arguments(ARG "" "LABEL;TIMEOUT;GROUPED" "SOURCES;LINK" ${ARGN})
  if(NOT ARG_LABEL)
    set(ARG_LABEL unit)
  endif()
  # Otherwise what ./test says: a long form takes as long as it takes.
  set(timeout)
  if(ARG_TIMEOUT)
    set(timeout TIMEOUT ${ARG_TIMEOUT})
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE quillard_options ${ARG_LINK} GTest::gtest GTest::gmock GTest::gtest_main rapidcheck)
  quillard_precompiled_headers(${name} quillard_test_pch)
  quillard_limit_stacks(${name})
  quillard_list_test_program(${name} ${ARG_SOURCES})
  set(filter)
  if(ARG_GROUPED)
    set(filter TEST_FILTER "-${ARG_GROUPED}")
  endif()
  gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60 ${filter}
    PROPERTIES LABELS ${ARG_LABEL} ${timeout})
endfunction()

# quillard_install_completions(PROGRAM COMPONENT): where each shell looks for what completes that program's command line.
function(quillard_install_completions program component)
  set(made ${PROJECT_SOURCE_DIR}/packaging/completions)
  install(FILES ${made}/${program}.bash DESTINATION share/bash-completion/completions RENAME ${program}
    COMPONENT ${component})
  install(FILES ${made}/_${program} DESTINATION share/zsh/site-functions COMPONENT ${component})
  install(FILES ${made}/${program}.fish DESTINATION share/fish/vendor_completions.d COMPONENT ${component})
endfunction()

# quillard_test_group(NAME PROGRAM PATTERN [LABEL label]): the tests of a program that match, as one test of CTest in one
# process, where they share what is expensive to make.
function(quillard_test_group name program pattern)
  if(NOT QUILLARD_TESTS)
    return()
  endif()
  cmake_parse_arguments(ARG "" "LABEL" "" ${ARGN})
  add_test(NAME ${name} COMMAND ${program} --gtest_filter=${pattern})
  set_tests_properties(${name} PROPERTIES LABELS ${ARG_LABEL} FAIL_REGULAR_EXPRESSION "0 tests from 0 test"
    # All of them, and none failed: a list of failures would stand behind that of the skipped.
    SKIP_REGULAR_EXPRESSION "PASSED  \\] 0 tests\\.\n\\[  SKIPPED \\][^\n]*listed below:(\n\\[  SKIPPED \\][^\n]*)*\n*$")
endfunction()
