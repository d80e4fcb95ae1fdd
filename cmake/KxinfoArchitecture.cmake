# Which libraries are for the architecture that is built for, by their ELF headers: folders have names
# of each maker's own.

# Class, byte order and machine, as hexadecimal digits; empty when it is no ELF file.
function(_kxinfo_architecture_of variable file)
  file(READ ${file} _begin LIMIT 6 HEX)
  file(READ ${file} _machine OFFSET 18 LIMIT 2 HEX)
  set(${variable} "" PARENT_SCOPE)
  if(_begin MATCHES "^7f454c46")
    set(${variable} ${_begin}${_machine} PARENT_SCOPE)
  endif()
endfunction()

# The compiler's options may choose another one than the system's, so something is compiled.
function(kxinfo_keep_those_of_the_target variable)
  set(_program ${PROJECT_BINARY_DIR}/CMakeFiles/kxinfo-architecture)
  try_compile(_compiled SOURCE_FROM_CONTENT architecture.cpp "int main() {}" NO_CACHE
    COPY_FILE ${_program} OUTPUT_VARIABLE _output)
  if(NOT _compiled)
    message(FATAL_ERROR "The compiler makes no program: ${_output}")
  endif()
  _kxinfo_architecture_of(_target ${_program})
  set(_kept)
  foreach(_file IN LISTS ARGN)
    _kxinfo_architecture_of(_architecture ${_file})
    if(_architecture STREQUAL _target)
      list(APPEND _kept ${_file})
    endif()
  endforeach()
  set(${variable} ${_kept} PARENT_SCOPE)
endfunction()
