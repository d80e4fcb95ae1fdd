# kxinfo::platform: what the plug-in is compiled against and linked with.
# KXINFO_PLATFORM_RPATH: where it looks for the platform's libraries.
# KXINFO_PLATFORM_DTAGS: whether LD_LIBRARY_PATH comes before that (RUNPATH) or after it (RPATH).

add_library(kxinfo-platform INTERFACE)
add_library(kxinfo::platform ALIAS kxinfo-platform)

# kxinfo looks for cameras by it on either platform.
add_subdirectory(${PROJECT_SOURCE_DIR}/gvcp ${PROJECT_BINARY_DIR}/gvcp)

if(KXINFO_PLATFORM STREQUAL "open")
  # The interface alone, for implementations of it.
  add_library(kxinfo-platform-headers INTERFACE)
  target_include_directories(kxinfo-platform-headers INTERFACE ${PROJECT_SOURCE_DIR}/platform/include)

  add_subdirectory(${PROJECT_SOURCE_DIR}/platform ${PROJECT_BINARY_DIR}/platform)
  target_link_libraries(kxinfo-platform INTERFACE kxinfo-platform-headers GevApi)
  # A folder of its own beside the plug-in, where no other program looks for the maker's library.
  set(KXINFO_PLATFORM_RPATH [[$ORIGIN/platform]])
  # The maker's library has the same file name, and its users may have it in LD_LIBRARY_PATH.
  set(KXINFO_PLATFORM_DTAGS LINKER:--disable-new-dtags)
else()
  include(KxinfoArchitecture)
  find_path(GIGEV_INCLUDE_DIR gevapi.h
    PATHS ${GIGEV_DIR} PATH_SUFFIXES include NO_DEFAULT_PATH)
  find_path(GENICAM_INCLUDE_DIR GenApi/GenApi.h
    PATHS ${GENICAM_DIR} PATH_SUFFIXES library/CPP/include include NO_DEFAULT_PATH)

  foreach(_file lib/libGevApi.so lib/libGevApi.so.2 lib64/libGevApi.so lib64/libGevApi.so.2)
    if(EXISTS ${GIGEV_DIR}/${_file})
      list(APPEND _gevapis ${GIGEV_DIR}/${_file})
    endif()
  endforeach()
  if(NOT GIGEV_INCLUDE_DIR OR NOT _gevapis)
    message(FATAL_ERROR "KXINFO_PLATFORM=vendor: no GigE-V Framework in GIGEV_DIR='${GIGEV_DIR}' "
      "(looked for include/gevapi.h and lib/libGevApi.so). Set GIGEV_DIR to its folder.")
  endif()
  kxinfo_keep_those_of_the_target(_fitting ${_gevapis})
  if(NOT _fitting)
    message(FATAL_ERROR "KXINFO_PLATFORM=vendor: the GigE-V Framework in GIGEV_DIR='${GIGEV_DIR}' "
      "is for another architecture than ${CMAKE_SYSTEM_PROCESSOR}, which is built for: "
      "${_gevapis}. Set GIGEV_DIR to the folder of one that fits.")
  endif()
  list(GET _fitting 0 GIGEV_LIBRARY)

  if(NOT GENICAM_INCLUDE_DIR)
    message(FATAL_ERROR "KXINFO_PLATFORM=vendor: no GenICam 3.0 in GENICAM_DIR='${GENICAM_DIR}' "
      "(looked for GenApi/GenApi.h). Set GENICAM_DIR to its folder.")
  endif()
  # One folder for each architecture; in each a pair of libraries, whose names tell a compiler too.
  file(GLOB _genapis ${GENICAM_DIR}/bin/*/libGenApi_*v3_0.so
    ${GENICAM_DIR}/lib/*/libGenApi_*v3_0.so ${GENICAM_DIR}/lib/libGenApi_*v3_0.so)
  foreach(_genapi IN LISTS _genapis)
    string(REGEX REPLACE "/libGenApi_([^/]*)$" "/libGCBase_\\1" _gcbase ${_genapi})
    if(EXISTS ${_gcbase})
      list(APPEND _pairs ${_genapi})
    endif()
  endforeach()
  if(NOT _pairs)
    message(FATAL_ERROR "KXINFO_PLATFORM=vendor: no libGenApi_*v3_0.so and libGCBase_*v3_0.so below "
      "GENICAM_DIR='${GENICAM_DIR}'. Set GENICAM_DIR to the GenICam 3.0 folder.")
  endif()
  kxinfo_keep_those_of_the_target(_fitting ${_pairs})
  if(NOT _fitting)
    message(FATAL_ERROR "KXINFO_PLATFORM=vendor: GenICam in GENICAM_DIR='${GENICAM_DIR}' is for "
      "other architectures than ${CMAKE_SYSTEM_PROCESSOR}, which is built for: ${_pairs}. Set "
      "GENICAM_DIR to the folder of one that has it.")
  endif()
  list(GET _fitting 0 _genapi)
  string(REGEX REPLACE "/libGenApi_([^/]*)$" "/libGCBase_\\1" _gcbase ${_genapi})
  message(STATUS "Camera platform: ${GIGEV_LIBRARY}, ${_genapi} and ${_gcbase}")

  target_include_directories(kxinfo-platform SYSTEM INTERFACE
    ${GIGEV_INCLUDE_DIR} ${GENICAM_INCLUDE_DIR})
  set(KXINFO_PLATFORM_LIBRARIES ${GIGEV_LIBRARY} ${_gcbase} ${_genapi})
  target_link_libraries(kxinfo-platform INTERFACE ${KXINFO_PLATFORM_LIBRARIES})

  foreach(_library IN LISTS KXINFO_PLATFORM_LIBRARIES)
    cmake_path(GET _library PARENT_PATH _folder)
    list(APPEND KXINFO_PLATFORM_RPATH ${_folder})
  endforeach()
  list(REMOVE_DUPLICATES KXINFO_PLATFORM_RPATH)
  # Whoever has moved the framework says so in LD_LIBRARY_PATH.
  set(KXINFO_PLATFORM_DTAGS LINKER:--enable-new-dtags)
endif()
