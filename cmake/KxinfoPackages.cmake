# Debian packages, made by CPack: one per component of cmake/KxinfoInstall.cmake.
# scripts/package makes them; cmake/package/prepare.cmake adds what packages have beyond a prefix.

set(KXINFO_MAINTAINER "kxinfo-dalsa maintainers <maintainers@kxinfo-dalsa.invalid>" CACHE STRING
    "Who stands behind the Debian packages: NAME <ADDRESS>")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kxinfo-dalsa)
set(CPACK_PACKAGE_CONTACT ${KXINFO_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/packages)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package/prepare.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Not Debian's own packages, whose first would be 1 and has to be newer.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0upstream1)
set(CPACK_DEBIAN_PACKAGE_SOURCE kxinfo-dalsa)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

# For prepare.cmake: where libraries lie that come from no Debian package, how to strip.
set(CPACK_KXINFO_STRIP ${CMAKE_STRIP})
if(KXINFO_PLATFORM STREQUAL "vendor")
  set(CPACK_KXINFO_FOREIGN_DIRS ${KXINFO_PLATFORM_RPATH})
endif()

# kxinfo_package(NAME SECTION section SUMMARY line TEXT text [DEPENDS packages of ours]
#                [SUGGESTS packages])
function(kxinfo_package name)
  cmake_parse_arguments(PARSE_ARGV 1 package "" "SECTION;SUMMARY;TEXT;SUGGESTS" "DEPENDS")
  string(TOUPPER ${name} key)
  list(APPEND CPACK_COMPONENTS_ALL ${name})
  # Built for each other: of the same version.
  list(TRANSFORM package_DEPENDS
    APPEND " (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
  list(JOIN package_DEPENDS ", " depends)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${package_SECTION} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${package_SUMMARY}\n${package_TEXT}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SUGGESTS "${package_SUGGESTS}" PARENT_SCOPE)
endfunction()

if(KXINFO_PLATFORM STREQUAL "open")
  set(_platform_package kxinfo-platform-gige)
  set(_platform_text "It reaches the cameras through the open camera platform of the package
kxinfo-platform-gige.")
else()
  set(_platform_package)
  set(_platform_text "It was built for the camera maker's framework, which has to be installed where it
was when this package was made.")
endif()

kxinfo_package(kxinfo-dalsa SECTION video
  SUMMARY "plug-in and command line that probe and set Dalsa GigE Vision cameras"
  TEXT "The plug-in finds the Dalsa GigE Vision cameras on the network, opens the one
that is configured, reports what it is and how it is set, and tells its host,
a program that grabs media, which settings a user may change.

The command line program kxinfo is such a host: it lists the cameras, and shows
a camera's settings as a table or as a JSON document. Beyond that it gets and
sets properties, gamma, the lookup table and the automatic functions, exposure
time and gain, saves all settings to a file and restores them.

${_platform_text}"
  DEPENDS ${_platform_package}
  SUGGESTS kxinfo-simcam)

if(TARGET GevApi)
  kxinfo_package(kxinfo-platform-gige SECTION libs
    SUMMARY "open GigE Vision camera platform of the plug-in kxinfo-dalsa"
    TEXT "A library that finds, opens and configures GigE Vision cameras. It stands in
for the camera maker's framework and has its file name, so it lies in a folder
where no program but the plug-in of kxinfo-dalsa looks for it.")
endif()

if(TARGET kxinfo-simcam)
  kxinfo_package(kxinfo-simcam SECTION net
    SUMMARY "virtual GigE Vision cameras"
    TEXT "Serves one or more virtual cameras that speak the control protocol of GigE
Vision, each on an address of its own: what one needs to try and to test
programs for cameras without a camera. The camera's GenICam description says
which registers it has and what they hold; one comes with the program.")
endif()

kxinfo_package(kxinfo-dalsa-dev SECTION libdevel
  SUMMARY "plug-in that probes Dalsa GigE Vision cameras - for building hosts"
  TEXT "What one needs to write a host for the plug-in of kxinfo-dalsa, or a program
that uses its camera class: headers, files for CMake and pkg-config, examples."
  DEPENDS kxinfo-dalsa
  SUGGESTS "cmake, pkg-config")

include(CPack)
