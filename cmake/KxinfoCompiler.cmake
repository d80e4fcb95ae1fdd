# How everything here is compiled, and where it is put.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
# The maker's headers test the macro `linux`, which standard C++ does not have.
if(KXINFO_PLATFORM STREQUAL "vendor")
  set(CMAKE_CXX_EXTENSIONS ON)
else()
  set(CMAKE_CXX_EXTENSIONS OFF)
endif()
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(KXINFO_WERROR)
  add_compile_options(-Werror)
endif()

# Paths in messages and debug information are relative to the project, whoever builds it where. The
# build folder is named there without a slash too.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
                    -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)

if(KXINFO_SANITIZE)
  add_compile_options(-fsanitize=${KXINFO_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KXINFO_SANITIZE})
endif()

if(KXINFO_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "KXINFO_FUZZ: libFuzzer comes with clang, but the compiler is "
      "${CMAKE_CXX_COMPILER}. Use the preset 'fuzz', in a build folder of its own.")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(KXINFO_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()
