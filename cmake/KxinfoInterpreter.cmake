# kxinfo_find_interpreter(VARIABLE): the dynamic loader that this compiler's programs name.

function(kxinfo_find_interpreter variable)
  if(DEFINED CACHE{${variable}})
    return()
  endif()
  set(program ${PROJECT_BINARY_DIR}/CMakeFiles/interpreter-probe)
  file(WRITE ${program}.c "int main(void) { return 0; }\n")
  try_compile(built ${PROJECT_BINARY_DIR}/CMakeFiles SOURCES ${program}.c COPY_FILE ${program})
  if(built)
    execute_process(COMMAND ${CMAKE_READELF} --program-headers --wide ${program}
      OUTPUT_VARIABLE headers)
  endif()
  if(NOT headers MATCHES "program interpreter: ([^]\n]+)\\]")
    message(FATAL_ERROR "Cannot tell which dynamic loader programs use here: ${CMAKE_READELF} shows "
      "none in a program built with ${CMAKE_C_COMPILER}. Set ${variable} to its path.")
  endif()
  set(${variable} ${CMAKE_MATCH_1} CACHE STRING "Dynamic loader that runs the library as a program")
endfunction()
