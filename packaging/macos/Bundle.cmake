# Quillard.app, in the build folder:
#
#   Contents/Info.plist                      who the application is, and where its updates come from
#   Contents/MacOS/Quillard                  the program
#   Contents/Resources/Quillard.icns         its icon, drawn while building
#   Contents/Resources/RelayConfig.plist     with -DQUILLARD_RELAY_CONFIG=FILE: the relay that comes built in
#
# The frameworks, the update framework and the signatures are put in by bundle-frameworks.sh and sign.sh.
include(${CMAKE_CURRENT_LIST_DIR}/Information.cmake)

set(QUILLARD_RELAY_CONFIG "" CACHE FILEPATH "A property list with relayURL and pairingID, to come with the application")
set(QUILLARD_UPDATE_FEED_URL "" CACHE STRING "Where the application looks for updates; needs the key, too")
set(QUILLARD_UPDATE_PUBLIC_KEY "" CACHE STRING "The Ed25519 key of whoever signs updates, in base64")
set(QUILLARD_BUILD_NUMBER "" CACHE STRING "CFBundleVersion, which grows with each build that is given to anybody")

function(quillard_application_bundle target)
  set(information ${CMAKE_CURRENT_BINARY_DIR}/Info.plist)
  quillard_write_information(${information} "${PROJECT_VERSION}" "${QUILLARD_BUILD_NUMBER}"
    "${QUILLARD_UPDATE_FEED_URL}" "${QUILLARD_UPDATE_PUBLIC_KEY}")
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME Quillard
    MACOSX_BUNDLE TRUE
    MACOSX_BUNDLE_INFO_PLIST ${information}
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})

  set(icon ${CMAKE_CURRENT_BINARY_DIR}/Quillard.icns)
  add_custom_command(OUTPUT ${icon} COMMAND quillard_icon_maker ${icon} DEPENDS quillard_icon_maker VERBATIM)
  target_sources(${target} PRIVATE ${icon})
  set_source_files_properties(${icon} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)

  if(QUILLARD_RELAY_CONFIG)
    set(relay ${CMAKE_CURRENT_BINARY_DIR}/RelayConfig.plist)
    configure_file(${QUILLARD_RELAY_CONFIG} ${relay} COPYONLY)
    target_sources(${target} PRIVATE ${relay})
    set_source_files_properties(${relay} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
  endif()
endfunction()
