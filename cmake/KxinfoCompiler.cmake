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
# Programs are linked as position-independent ones, and compiled as libraries are: what both share is
# compiled once.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_C_COMPILE_OPTIONS_PIE ${CMAKE_C_COMPILE_OPTIONS_PIC})
set(CMAKE_CXX_COMPILE_OPTIONS_PIE ${CMAKE_CXX_COMPILE_OPTIONS_PIC})
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

# Lines are enough in what a debugger shows of optimised code, or a sanitizer; variables take a third
# of the time to compile.
if(KXINFO_SANITIZE OR CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
  add_compile_options(-g1)
endif()

# Hardened, also where the compiler is not set up so. The plug-in binds lazily all the same
# (src/CMakeLists.txt); tests/install/hardened.sh looks at what is installed.
add_compile_options(-fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "86|amd64|AMD64")
  add_compile_options(-fcf-protection)
endif()
add_link_options(LINKER:-z,relro LINKER:-z,now)
# The C library checks bounds where code is optimised; sanitizers check more.
if(NOT KXINFO_SANITIZE AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()

# For code that runs once a command and is full of templates, whose optimisation takes long: compiled
# in half the time so.
set(KXINFO_COMPILED_QUICKLY $<$<NOT:$<CONFIG:Debug>>:-Og>)

if(KXINFO_SANITIZE)
  add_compile_options(-fsanitize=${KXINFO_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  # Longer to compile, but tests that compute a minute unoptimised are done in less than half of that.
  if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    add_compile_options(-O1)
  endif()
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
