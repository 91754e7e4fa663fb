# Manuals lie compressed in packages.
file(GLOB manuals ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share/man/man?/*.[1-8]
  ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share/man/man?/*.[1-8])
foreach(manual ${manuals})
  execute_process(COMMAND gzip -9n ${manual})
endforeach()
