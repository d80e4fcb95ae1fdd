# What a person may choose when configuring, checked here so that a wrong choice stops at once.

set(KXINFO_PLATFORM open CACHE STRING
    "Camera platform: 'open' (platform/gige) or 'vendor' (the camera maker's installed package)")
set_property(CACHE KXINFO_PLATFORM PROPERTY STRINGS open vendor)
set(GIGEV_DIR "" CACHE PATH "With KXINFO_PLATFORM=vendor: where the GigE-V Framework is installed")
set(GENICAM_DIR "" CACHE PATH "With KXINFO_PLATFORM=vendor: where GenICam 3.0 is installed")
set(KXINFO_REVISION "" CACHE STRING
    "Source revision shown in the version line: 40 hexadecimal digits; empty asks git")
set(KXINFO_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")
option(KXINFO_WERROR "Treat compiler warnings as errors" OFF)
option(KXINFO_COVERAGE "Build for coverage measurement" OFF)
option(KXINFO_TESTS "Build the tests, which need more packages than the rest" OFF)
option(KXINFO_BENCH "Build the benchmarks" OFF)
option(KXINFO_FUZZ "Build the fuzz targets, with clang and for coverage by libFuzzer" OFF)

if(NOT KXINFO_PLATFORM MATCHES "^(open|vendor)$")
  message(FATAL_ERROR
    "KXINFO_PLATFORM is '${KXINFO_PLATFORM}', expected 'open' or 'vendor'. "
    "'open' needs no camera maker's package; 'vendor' also takes GIGEV_DIR and GENICAM_DIR.")
endif()

if(KXINFO_REVISION AND NOT KXINFO_REVISION MATCHES "^[0-9a-fA-F]+$")
  set(_bad_revision ON)
endif()
string(LENGTH "${KXINFO_REVISION}" _revision_length)
if(_bad_revision OR NOT (_revision_length EQUAL 0 OR _revision_length EQUAL 40))
  message(FATAL_ERROR
    "KXINFO_REVISION is '${KXINFO_REVISION}', expected the 40 hexadecimal digits of a source "
    "revision. Leave it out to have git asked (zeros when the tree has no git).")
endif()

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()
