# Run by CPack when the files of all packages are staged: adds what Debian packages have beyond what
# is installed into a prefix, and finds out which packages they depend on.

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE output
    ERROR_VARIABLE errors)
  set(output "${output}" PARENT_SCOPE)
endfunction()

set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
string(TIMESTAMP year %Y UTC) # of SOURCE_DATE_EPOCH, if set
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)

foreach(name IN LISTS CPACK_COMPONENTS_ALL)
  set(usr ${CPACK_TEMPORARY_DIRECTORY}/${name}/usr)
  set(doc ${usr}/share/doc/${name})

  configure_file(${CMAKE_CURRENT_LIST_DIR}/copyright.in ${doc}/copyright @ONLY)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${doc}/changelog.Debian @ONLY)
  if(EXISTS ${doc}/CHANGELOG.md)
    file(RENAME ${doc}/CHANGELOG.md ${doc}/changelog)
    file(READ ${doc}/README.md text)
    string(REPLACE "](CHANGELOG.md)" "](changelog.gz)" text "${text}")
    file(WRITE ${doc}/README.md "${text}")
  endif()
  file(GLOB compressed ${doc}/changelog* ${usr}/share/man/man*/*)
  run(gzip -9 --no-name ${compressed})

  # The prefix is known here.
  file(GLOB_RECURSE found ${usr}/lib/*.pc)
  foreach(file IN LISTS found)
    file(READ ${file} text)
    string(REGEX REPLACE "^prefix=[^\n]*" "prefix=/usr" text "${text}")
    file(WRITE ${file} "${text}")
  endforeach()

  file(GLOB programs ${usr}/bin/* ${usr}/lib/kxinfo/*.so ${usr}/lib/kxinfo/kxinfo-host
    ${usr}/lib/kxinfo/platform/*)
  if(programs)
    run(${CPACK_KXINFO_STRIP} --strip-unneeded --remove-section=.comment --remove-section=.note
      ${programs})
    list(APPEND all_programs ${programs})
  endif()
endforeach()

# CPack can ask dpkg-shlibdeps itself, but takes the plug-in's folder for the loader's then and has
# the loader's cache refreshed when the package is installed.
file(WRITE ${CPACK_TEMPORARY_DIRECTORY}/debian/control "")
file(GLOB private ${CPACK_TEMPORARY_DIRECTORY}/*/usr/lib/kxinfo/platform)
list(APPEND private ${CPACK_KXINFO_FOREIGN_DIRS})
list(TRANSFORM private PREPEND -l)
foreach(name IN LISTS CPACK_COMPONENTS_ALL)
  set(programs ${all_programs})
  list(FILTER programs INCLUDE REGEX "/${name}/usr/")
  if(programs)
    # Missing: who has the platform, which comes from no package that is installed here.
    run(${CMAKE_COMMAND} -E chdir ${CPACK_TEMPORARY_DIRECTORY}
      dpkg-shlibdeps ${private} --ignore-missing-info -O ${programs})
    if(NOT output MATCHES "shlibs:Depends=([^\n]+)")
      message(FATAL_ERROR "dpkg-shlibdeps finds no dependencies of ${name}: ${output}")
    endif()
    string(TOUPPER ${name} key)
    list(APPEND CPACK_DEBIAN_${key}_PACKAGE_DEPENDS ${CMAKE_MATCH_1})
    list(JOIN CPACK_DEBIAN_${key}_PACKAGE_DEPENDS ", " CPACK_DEBIAN_${key}_PACKAGE_DEPENDS)
  endif()
endforeach()
file(REMOVE_RECURSE ${CPACK_TEMPORARY_DIRECTORY}/debian)
