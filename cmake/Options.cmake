# SPDX-License-Identifier: GPL-2.0-or-later
# How everything is compiled, whatever the preset.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# As what is tested. With -O3, GCC 12 warns of overlaps in std::string that can't be.
set(CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# The client looks for its server one directory above the libraries when TVDEVEL is set.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

# Where the service manager looks for units. A package of Debian 12 has them in /lib, which its tools
# know, though that is a link to /usr/lib.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(unit_dir /lib/systemd/system)
else()
  set(unit_dir ${CMAKE_INSTALL_PREFIX}/lib/systemd/system)
endif()
set(TAVRIN_UNIT_DIR ${unit_dir} CACHE PATH "Folder of the service manager's units")

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

option(TAVRIN_SANITIZE "Build with the address and undefined behaviour sanitizers" OFF)
option(TAVRIN_FUZZ "Build the fuzzers for running; needs clang and TAVRIN_SANITIZE" OFF)

# Warnings are those of GCC; clang, which builds the fuzzers, has others.
add_compile_options(
  -Wall -Wextra -Wpedantic $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local> -Wformat=2
  -Wno-format-nonliteral -Wno-format-y2k -Wundef $<$<CXX_COMPILER_ID:GNU>:-Werror>
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
  $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
# Keep the source tree's place out of asserts, logs and debug information.
add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
add_link_options(-Wl,--as-needed -Wl,-z,defs -Wl,-z,relro -Wl,-z,now)

if(TAVRIN_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
    -fno-omit-frame-pointer)
  # The sanitizers' runtime stays undefined in our shared libraries until the program brings it.
  add_link_options(-fsanitize=address,undefined -Wl,-z,undefs)
  if(TAVRIN_FUZZ)
    # What a fuzzer learns of an input; its main function comes with the fuzzers alone.
    add_compile_options(-fsanitize=fuzzer-no-link -D_GLIBCXX_ASSERTIONS)
    add_link_options(-fsanitize=fuzzer-no-link)
  endif()
else()
  add_compile_options(-fstack-protector-strong)
  add_compile_definitions($<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
endif()
