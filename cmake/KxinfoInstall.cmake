# Where everything is installed. A component is what one Debian package holds, and has its name
# (cmake/KxinfoPackages.cmake).
#
# The plug-in, and the open platform below it, lie where no other program's loader looks: the
# platform has the file name of the camera maker's library.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KXINFO_PLUGIN_DIR lib/kxinfo)
set(KXINFO_PLATFORM_DIR ${KXINFO_PLUGIN_DIR}/platform)
set(_headers ${CMAKE_INSTALL_INCLUDEDIR}/kxinfo-dalsa)
set(_doc ${CMAKE_INSTALL_DATADIR}/doc/kxinfo-dalsa)
set(_generated ${PROJECT_BINARY_DIR}/install)

# The plug-in can be run as well: it says its version.
set(_runs PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                      WORLD_READ WORLD_EXECUTE)
install(TARGETS kxinfo-dalsa LIBRARY DESTINATION ${KXINFO_PLUGIN_DIR} ${_runs}
  COMPONENT kxinfo-dalsa)
install(TARGETS kxinfo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT kxinfo-dalsa)
install(TARGETS kxinfo-host RUNTIME DESTINATION ${KXINFO_PLUGIN_DIR} COMPONENT kxinfo-dalsa)
if(TARGET GevApi)
  install(TARGETS GevApi LIBRARY DESTINATION ${KXINFO_PLATFORM_DIR} NAMELINK_SKIP
    COMPONENT kxinfo-platform-gige)
endif()
if(TARGET kxinfo-simcam)
  install(TARGETS kxinfo-simcam RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    COMPONENT kxinfo-simcam)
endif()

# What a program has belongs to the program's component, the rest to the plug-in's.
function(_kxinfo_component_of name variable)
  set(component kxinfo-dalsa)
  if(name STREQUAL "kxinfo-simcam")
    set(component kxinfo-simcam)
  endif()
  if(NOT component STREQUAL "kxinfo-simcam" OR TARGET kxinfo-simcam)
    set(${variable} ${component} PARENT_SCOPE)
  else()
    set(${variable} "" PARENT_SCOPE)
  endif()
endfunction()

# The page of kxinfo has what its help tells of the commands.
set(COMMANDS "@COMMANDS@")
set(VERSION ${PROJECT_VERSION})
configure_file(${PROJECT_SOURCE_DIR}/docs/man/kxinfo.1.in ${PROJECT_BINARY_DIR}/man/kxinfo.1.in @ONLY)
set(_page ${PROJECT_BINARY_DIR}/man/kxinfo.1)
set(_from_help ${PROJECT_SOURCE_DIR}/docs/man/page_from_help)
add_custom_command(OUTPUT ${_page} VERBATIM
  COMMAND ${_from_help} $<TARGET_FILE:kxinfo> ${_page}.in > ${_page}
  DEPENDS kxinfo ${_from_help} ${_page}.in)
add_custom_target(manual ALL DEPENDS ${_page})
install(FILES ${_page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT kxinfo-dalsa)

file(GLOB _pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.[17])
foreach(_page IN LISTS _pages)
  cmake_path(GET _page FILENAME _file)
  cmake_path(GET _page STEM LAST_ONLY _name)
  string(REGEX MATCH ".$" _section ${_file})
  _kxinfo_component_of(${_name} _component)
  if(_component)
    configure_file(${_page} ${PROJECT_BINARY_DIR}/man/${_file} @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/man/${_file}
      DESTINATION ${CMAKE_INSTALL_MANDIR}/man${_section} COMPONENT ${_component})
  endif()
endforeach()

foreach(_completion camera/completion/kxinfo simcam/completion/kxinfo-simcam)
  cmake_path(GET _completion FILENAME _name)
  _kxinfo_component_of(${_name} _component)
  if(_component)
    install(FILES ${PROJECT_SOURCE_DIR}/${_completion}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT ${_component})
  endif()
endforeach()
# Debian's places; these two ask bash's for what it offers.
_kxinfo_component_of(kxinfo _component)
if(_component)
  install(FILES ${PROJECT_SOURCE_DIR}/camera/completion/_kxinfo
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT ${_component})
  install(FILES ${PROJECT_SOURCE_DIR}/camera/completion/kxinfo.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT ${_component})
endif()

# The documents lie side by side there, and the headers elsewhere: the documents' links follow.
# Folders of sources are not there, so what leads to them is no link any more.
cmake_path(RELATIVE_PATH _headers BASE_DIRECTORY ${_doc} OUTPUT_VARIABLE _headers_from_doc)
file(GLOB _documents CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/*.md ${PROJECT_SOURCE_DIR}/docs/*.md)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${_documents})
foreach(_document IN LISTS _documents)
  cmake_path(GET _document FILENAME _file)
  file(READ ${_document} _text)
  string(REGEX REPLACE "\\[([^]]*)\\]\\(\\.\\./[a-z]+\\)" "\\1" _text "${_text}")
  string(REGEX REPLACE "\\]\\((\\.\\./|docs/)" "](" _text "${_text}")
  string(REPLACE "](include/kxinfo-dalsa/" "](${_headers_from_doc}/" _text "${_text}")
  file(WRITE ${_generated}/doc/${_file} "${_text}")
  install(FILES ${_generated}/doc/${_file} DESTINATION ${_doc} COMPONENT kxinfo-dalsa)
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/schema DESTINATION ${_doc} COMPONENT kxinfo-dalsa
  FILES_MATCHING PATTERN *.schema.json)

# For people who build hosts: headers, what finds them, examples.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kxinfo-dalsa/ DESTINATION ${_headers}
  COMPONENT kxinfo-dalsa-dev FILES_MATCHING PATTERN *.h)
if(KXINFO_PLATFORM STREQUAL "open")
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/include/ DESTINATION ${_headers}/platform
    COMPONENT kxinfo-dalsa-dev FILES_MATCHING PATTERN *.h)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/examples DESTINATION ${_doc}
  COMPONENT kxinfo-dalsa-dev
  FILES_MATCHING PATTERN *.c PATTERN *.cpp PATTERN CMakeLists.txt PATTERN Makefile)

# Both find the rest from where they lie themselves, so the prefix may be any.
set(_config ${CMAKE_INSTALL_LIBDIR}/cmake/kxinfo-dalsa)
set(INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR})
set(HEADERS_DIR ${_headers})
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/install/kxinfo-dalsa-config.cmake.in
  ${_generated}/kxinfo-dalsa-config.cmake
  INSTALL_DESTINATION ${_config}
  PATH_VARS INCLUDE_DIR HEADERS_DIR KXINFO_PLUGIN_DIR
  NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${_generated}/kxinfo-dalsa-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${_generated}/kxinfo-dalsa-config.cmake
              ${_generated}/kxinfo-dalsa-config-version.cmake
  DESTINATION ${_config} COMPONENT kxinfo-dalsa-dev)

set(_pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${_pkgconfig} OUTPUT_VARIABLE PREFIX_FROM_PC)
if(KXINFO_PLATFORM STREQUAL "open")
  set(PLATFORM_CFLAGS "-I\${includedir}/kxinfo-dalsa/platform")
  set(PLATFORM_LIBS "-L\${plugindir}/platform -l:libGevApi.so.2 -Wl,-rpath,\${plugindir}/platform")
else()
  set(PLATFORM_CFLAGS "-I${GIGEV_INCLUDE_DIR} -I${GENICAM_INCLUDE_DIR}")
  list(JOIN KXINFO_PLATFORM_LIBRARIES " " PLATFORM_LIBS)
  foreach(_folder IN LISTS KXINFO_PLATFORM_RPATH)
    string(APPEND PLATFORM_LIBS " -Wl,-rpath,${_folder}")
  endforeach()
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/install/kxinfo-dalsa.pc.in
  ${_generated}/kxinfo-dalsa.pc @ONLY)
install(FILES ${_generated}/kxinfo-dalsa.pc DESTINATION ${_pkgconfig} COMPONENT kxinfo-dalsa-dev)
