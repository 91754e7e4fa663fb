# What is installed, below a prefix such as ~/.local or /usr/local:
#
#   lib/Quillard.app/quillard, Info.plist      the program; its folder is what the agent takes for its bundle
#   lib/Quillard.app/Resources/RelayConfig.plist   with -DQUILLARD_RELAY_CONFIG=FILE: the relay that comes built in
#   bin/quillard                               a link to the program
#   share/applications/com.quillard.agent.desktop, share/man/man1/quillard.1
#   share/icons/hicolor/.../com.quillard.agent.png and .svg, share/metainfo/com.quillard.agent.metainfo.xml
#   lib/systemd/user/quillard.service          in packages alone: see packaging/linux/Packages.cmake
#   share/bash-completion/completions/quillard, share/zsh/site-functions/_quillard,
#   share/fish/vendor_completions.d/quillard.fish
#
#   cmake --install build/release --component quillard --prefix ~/.local
set(QUILLARD_RELAY_CONFIG "" CACHE FILEPATH "A property list with relayURL and pairingID, to be installed")
set(QUILLARD_BUNDLE lib/Quillard.app)

configure_file(${CMAKE_CURRENT_LIST_DIR}/Info.plist.in ${PROJECT_BINARY_DIR}/packaging/Info.plist @ONLY)

install(TARGETS quillard RUNTIME DESTINATION ${QUILLARD_BUNDLE} COMPONENT quillard)
install(FILES ${PROJECT_BINARY_DIR}/packaging/Info.plist DESTINATION ${QUILLARD_BUNDLE} COMPONENT quillard)
if(QUILLARD_RELAY_CONFIG)
  install(FILES ${QUILLARD_RELAY_CONFIG} DESTINATION ${QUILLARD_BUNDLE}/Resources RENAME RelayConfig.plist
    COMPONENT quillard)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/docs/quillard.1 DESTINATION share/man/man1 COMPONENT quillard)
quillard_install_completions(quillard quillard)

set(QUILLARD_ICONS ${PROJECT_BINARY_DIR}/packaging/icons)
add_custom_command(OUTPUT ${QUILLARD_ICONS}/hicolor/48x48/apps/com.quillard.agent.png
  COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen
          $<TARGET_FILE:quillard_icon_maker> --theme ${QUILLARD_ICONS} com.quillard.agent
  DEPENDS quillard_icon_maker VERBATIM)
add_custom_target(quillard_icons DEPENDS ${QUILLARD_ICONS}/hicolor/48x48/apps/com.quillard.agent.png)
add_dependencies(quillard quillard_icons)
install(DIRECTORY ${QUILLARD_ICONS}/hicolor DESTINATION share/icons COMPONENT quillard)
install(FILES ${PROJECT_SOURCE_DIR}/companion/phone/public/icon.svg RENAME com.quillard.agent.svg
  DESTINATION share/icons/hicolor/scalable/apps COMPONENT quillard)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/com.quillard.agent.metainfo.xml DESTINATION share/metainfo COMPONENT quillard)

# What names the prefix is written when that is known.
install(CODE "
  file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
  file(CREATE_LINK ../${QUILLARD_BUNDLE}/quillard \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/quillard\" SYMBOLIC)
  configure_file(\"${CMAKE_CURRENT_LIST_DIR}/com.quillard.agent.desktop.in\"
    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/share/applications/com.quillard.agent.desktop\" @ONLY)
" COMPONENT quillard)
