# Packages for Debian and Ubuntu: `quillard`, the agent, and `quillard-relay` with the phones' page. Each holds what
# `cmake --install` installs, below /usr, and the papers that such packages have.
#
#   scripts/packages.sh [FOLDER]     builds both
#   cpack --config build/relay/CPackConfig.cmake -B build/relay     the relay's alone
set(QUILLARD_PACKAGE_MAINTAINER "Quillard <packages@quillard.invalid>" CACHE STRING
  "Who makes the packages, as packages name people")
set(papers ${PROJECT_BINARY_DIR}/packaging/papers)
set(debian ${CMAKE_CURRENT_LIST_DIR}/debian)

# Both need the day of the commit, which is only looked up when a package is made.
function(quillard_package_papers package component)
  install(CODE "
    set(package ${package})
    set(version \"${PROJECT_VERSION}\")
    set(source \"${PROJECT_SOURCE_DIR}\")
    set(papers \"${papers}/${package}\")
    set(maintainer \"${QUILLARD_PACKAGE_MAINTAINER}\")
    include(\"${debian}/Papers.cmake\")" COMPONENT ${component})
  install(DIRECTORY ${papers}/${package}/ DESTINATION share COMPONENT ${component})
endfunction()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillard)
set(CPACK_PACKAGE_VENDOR Quillard)
set(CPACK_PACKAGE_CONTACT ${QUILLARD_PACKAGE_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_COMPONENTS_ALL relay relay-papers)

set(CPACK_COMPONENT_RELAY_GROUP relay)
set(CPACK_COMPONENT_RELAY-PAPERS_GROUP relay)
set(CPACK_DEBIAN_RELAY_PACKAGE_NAME quillard-relay)
set(CPACK_DEBIAN_RELAY_PACKAGE_SECTION net)
set(CPACK_DEBIAN_RELAY_PACKAGE_DEPENDS "ca-certificates")
set(CPACK_DEBIAN_RELAY_DESCRIPTION "relay between Quillard's agents and phones, with the phones' page
Quillard shows approval prompts of a computer on the paired phone, and presses
the button that is chosen there. This is the relay between the two: it hands
on what it cannot read, and serves the page that runs on the phone.
.
`quillard-relay setup --domain NAME` writes its configuration and says what to
do next.")
set(CPACK_DEBIAN_RELAY_PACKAGE_CONTROL_EXTRA
  ${debian}/relay/postinst ${debian}/relay/prerm ${debian}/relay/postrm)
quillard_package_papers(quillard-relay relay-papers)

if(QUILLARD_AGENT)
  list(APPEND CPACK_COMPONENTS_ALL quillard quillard-papers)
  set(CPACK_COMPONENT_QUILLARD_GROUP quillard)
  set(CPACK_COMPONENT_QUILLARD-PAPERS_GROUP quillard)
  set(CPACK_DEBIAN_QUILLARD_PACKAGE_NAME quillard)
  set(CPACK_DEBIAN_QUILLARD_PACKAGE_SECTION utils)
  set(CPACK_DEBIAN_QUILLARD_PACKAGE_DEPENDS "at-spi2-core, default-dbus-session-bus | dbus-session-bus")
  set(CPACK_DEBIAN_QUILLARD_PACKAGE_RECOMMENDS "qt6-wayland, gnome-keyring | org.freedesktop.secrets, libglib2.0-bin, xdg-utils")
  set(CPACK_DEBIAN_QUILLARD_PACKAGE_SUGGESTS "quillard-relay")
  set(CPACK_DEBIAN_QUILLARD_DESCRIPTION "approval prompts of this computer on your phone
Programs ask before they do something: Allow, Don't Allow, Install, Cancel.
Quillard sees such prompts, shows them on the paired phone, end-to-end
encrypted, presses exactly the button that is chosen there, and says whether
the prompt has gone. Prompts that want a password or a change of settings can
be denied from afar, never approved.")
  install(CODE "
    configure_file(\"${CMAKE_CURRENT_LIST_DIR}/quillard.service.in\"
      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/lib/systemd/user/quillard.service\" @ONLY)"
    COMPONENT quillard-papers)
  quillard_package_papers(quillard quillard-papers)
endif()
set(CPACK_PRE_BUILD_SCRIPTS ${debian}/Compress.cmake)
include(CPack)
