# Writes what each Debian package has below /usr/share/doc. In: package, version, source, papers (a folder), maintainer.
set(folder ${papers}/doc/${package})
file(REMOVE_RECURSE ${folder})
file(MAKE_DIRECTORY ${folder})

if(DEFINED ENV{PACKAGE_VERSION})
  set(version $ENV{PACKAGE_VERSION})
endif()
# The day of the sources: the same sources make the same package.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(seconds $ENV{SOURCE_DATE_EPOCH})
else()
  execute_process(COMMAND git -C ${source} log -1 --format=%ct
    OUTPUT_VARIABLE seconds OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
  if(failed)
    string(TIMESTAMP seconds %s UTC)
  endif()
endif()
execute_process(COMMAND date -u -R -d @${seconds} OUTPUT_VARIABLE day OUTPUT_STRIP_TRAILING_WHITESPACE)

file(WRITE ${folder}/changelog "${package} (${version}) unstable; urgency=medium

  * The release of this version. CHANGELOG.md in the sources says what is new.

 -- ${maintainer}  ${day}
")
execute_process(COMMAND gzip -9n ${folder}/changelog)
configure_file(${source}/packaging/linux/debian/copyright ${folder}/copyright COPYONLY)
