# Run by the build: writes the version header, anew only when it says something else than before.
# In: OUTPUT, VERSION, REVISION (may be empty: git is asked), SOURCE_DIR.

set(revision ${REVISION})
if(NOT revision)
  # Only of a repository of our own: sources unpacked below another one are not its revision.
  execute_process(COMMAND git -C ${SOURCE_DIR} rev-parse --show-prefix HEAD
    OUTPUT_VARIABLE answer ERROR_QUIET)
  string(REGEX MATCH "^\n([0-9a-f]*)\n$" _ "${answer}")
  string(LENGTH "${CMAKE_MATCH_1}" length)
  if(length EQUAL 40)
    set(revision ${CMAKE_MATCH_1})
  else()
    message(STATUS "git tells no revision of ${SOURCE_DIR}: the version line will show zeros. "
      "-DKXINFO_REVISION= sets one.")
  endif()
endif()
if(NOT revision)
  string(REPEAT 0 40 revision)
endif()
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT [[
#ifndef KX_VERSION_H
#define KX_VERSION_H

#define KX_VERSION_STRING "@VERSION@-@revision@"

#endif
]] @ONLY)
