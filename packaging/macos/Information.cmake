# The application's information dictionary. Included by the build, and run by the tests:
#
#   cmake -DOUTPUT=Info.plist -DVERSION=1.2.3 -P packaging/macos/Information.cmake
#
# QUILLARD_UPDATE_FEED_URL and QUILLARD_UPDATE_PUBLIC_KEY (both, or neither) say where updates come from and who has to
# have signed them; without them the application has no updates. QUILLARD_BUILD_NUMBER grows with each build that is
# given to anybody, since that is what updates are compared by; without it, it is the version. The oldest system is the one
# that the program is built for, CMAKE_OSX_DEPLOYMENT_TARGET: on an older one it would not be started, but would fail.

set(QUILLARD_INFORMATION_TEMPLATE ${CMAKE_CURRENT_LIST_DIR}/Info.plist.in)

function(quillard_xml_text output text)
  string(REPLACE "&" "&amp;" text "${text}")
  string(REPLACE "<" "&lt;" text "${text}")
  string(REPLACE ">" "&gt;" text "${text}")
  set(${output} "${text}" PARENT_SCOPE)
endfunction()

# Stops with what is wrong.
function(quillard_check_information version build_number feed key)
  foreach(number IN ITEMS "${version}" "${build_number}")
    if(NOT number MATCHES "^[0-9]+(\\.[0-9]+)?(\\.[0-9]+)?$")
      message(FATAL_ERROR "A version is made of one to three numbers with points between them, and this is not: '${number}'")
    endif()
  endforeach()
  if(feed STREQUAL "" AND key STREQUAL "")
    return()
  endif()
  if(feed STREQUAL "" OR key STREQUAL "")
    message(FATAL_ERROR "Updates need both QUILLARD_UPDATE_FEED_URL and QUILLARD_UPDATE_PUBLIC_KEY.")
  endif()
  if(NOT feed MATCHES "^https://[A-Za-z0-9.-]+(:[0-9]+)?/[^ \t\r\n\"]*$")
    message(FATAL_ERROR "QUILLARD_UPDATE_FEED_URL is no address that begins with https:// and names a file: '${feed}'")
  endif()
  # 32 bytes in base64: 42 characters of any kind, one that ends in two zero bits, and the padding.
  string(LENGTH "${key}" length)
  if(NOT length EQUAL 44 OR NOT key MATCHES "^[A-Za-z0-9+/]+=$" OR NOT key MATCHES "[AEIMQUYcgkosw048]=$")
    message(FATAL_ERROR "QUILLARD_UPDATE_PUBLIC_KEY is no Ed25519 key of 32 bytes in base64: '${key}'")
  endif()
endfunction()

function(quillard_write_information output version build_number feed key)
  if("${build_number}" STREQUAL "")
    set(build_number "${version}")
  endif()
  quillard_check_information("${version}" "${build_number}" "${feed}" "${key}")
  set(MINIMUM_SYSTEM 13.0)
  if(CMAKE_OSX_DEPLOYMENT_TARGET)
    set(MINIMUM_SYSTEM ${CMAKE_OSX_DEPLOYMENT_TARGET})
  endif()
  set(VERSION "${version}")
  set(BUILD_NUMBER "${build_number}")
  set(UPDATE_ENTRIES "")
  if(NOT "${feed}" STREQUAL "")
    quillard_xml_text(feed "${feed}")
    string(CONCAT UPDATE_ENTRIES
      "\t<key>SUEnableAutomaticChecks</key>\n\t<true/>\n"
      "\t<key>SUFeedURL</key>\n\t<string>${feed}</string>\n"
      "\t<key>SUPublicEDKey</key>\n\t<string>${key}</string>\n")
  endif()
  configure_file(${QUILLARD_INFORMATION_TEMPLATE} ${output} @ONLY)
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  quillard_write_information("${OUTPUT}" "${VERSION}" "${QUILLARD_BUILD_NUMBER}" "${QUILLARD_UPDATE_FEED_URL}"
    "${QUILLARD_UPDATE_PUBLIC_KEY}")
endif()
