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
if(TARGET kxinfo-camera)
  install(TARGETS kxinfo-camera LIBRARY DESTINATION ${KXINFO_PLUGIN_DIR} COMPONENT kxinfo-dalsa)
endif()
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

file(GLOB _pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.[17])
foreach(_page IN LISTS _pages)
  cmake_path(GET _page FILENAME _file)
  cmake_path(GET _page STEM LAST_ONLY _name)
  string(REGEX MATCH ".$" _section ${_file})
  _kxinfo_component_of(${_name} _component)
  if(_component)
    set(VERSION ${PROJECT_VERSION})
    configure_file(${_page} ${PROJECT_BINARY_DIR}/man/${_file} @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/man/${_file}
      DESTINATION ${CMAKE_INSTALL_MANDIR}/man${_section} COMPONENT ${_component})
  endif()
endforeach()

file(GLOB _completions CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/*/completion/*)
foreach(_completion IN LISTS _completions)
  cmake_path(GET _completion FILENAME _name)
  _kxinfo_component_of(${_name} _component)
  if(_component)
    install(FILES ${_completion}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT ${_component})
  endif()
endforeach()

# The documents lie side by side there; README's links follow.
file(GLOB _documents CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.md)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/README.md)
file(READ ${PROJECT_SOURCE_DIR}/README.md _readme)
string(REPLACE "](docs/" "](" _readme "${_readme}")
file(CONFIGURE OUTPUT ${_generated}/README.md CONTENT "${_readme}" @ONLY)
install(FILES ${_generated}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${_documents}
  DESTINATION ${_doc} COMPONENT kxinfo-dalsa)

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
