# Warnings, hardening and instrumentation that hold for everything we compile.

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

add_compile_options(
  -Wall -Wextra -Wpedantic -Werror
  -Wconversion -Wsign-conversion -Wdouble-promotion
  -Wshadow -Wold-style-cast -Wcast-qual -Wcast-align
  -Wnon-virtual-dtor -Woverloaded-virtual
  -Wformat=2 -Wimplicit-fallthrough -Wundef)
# Unknown to clang; and where a pointer has four bytes, std::size_t is unsigned int and a cast that
# others need is useless.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  add_compile_options(-Wuseless-cast)
endif()

# Optimised, yet with debug information: `strip` and a debugger each take what they need.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g -DNDEBUG")

# Fast enough to try many inputs, with traces that can be read.
set(CMAKE_CXX_FLAGS_FUZZ "-O1 -g")

if(CMAKE_BUILD_TYPE STREQUAL "Release")
  add_compile_options(
    -fstack-protector-strong -fstack-clash-protection
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
    -ffunction-sections -fdata-sections)
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--gc-sections -Wl,--as-needed)
endif()
# Position-independent executables: `-pie` itself, not only code that would allow it.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

# A sanitizer's report names functions and lines; more debug information would only cost time.
if(ORVANE_SANITIZE)
  add_compile_options(-fsanitize=${ORVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${ORVANE_SANITIZE})
endif()

# What libFuzzer watches; only a fuzz target itself is linked with its main.
if(ORVANE_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(ORVANE_COVERAGE)
  # Counted is what is ours and no test: neither a test's own code nor what anyone instantiates of
  # the system's headers. An inline function of ours counts wherever it was compiled. These two
  # options stand in a file since the compiler cache does not know them and would not cache; its
  # other part in the matter is that a path is relative where it is used.
  string(REGEX REPLACE "[^A-Za-z0-9/_-]" "." root_pattern "${PROJECT_SOURCE_DIR}")
  file(CONFIGURE OUTPUT coverage.specs CONTENT "*cc1plus:
+ -fprofile-update=atomic -fprofile-exclude-files=^/usr/;^${root_pattern}/tests/;^[.][.]/[.][.]/tests/

")
  add_compile_options(--coverage -fprofile-abs-path -specs=${CMAKE_BINARY_DIR}/coverage.specs)
  add_link_options(--coverage)
endif()

# Leaves <name>.debug beside a release program or library and strips a copy of
# it into stripped/: `cmake --build build/release --target stripped`.
add_custom_target(stripped)
function(orvane_strip target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Release")
    return()
  endif()
  set(folder ${CMAKE_BINARY_DIR}/stripped)
  add_custom_target(strip-${target}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}>
            ${folder}/$<TARGET_FILE_NAME:${target}>.debug
    COMMAND ${CMAKE_STRIP} -o ${folder}/$<TARGET_FILE_NAME:${target}> $<TARGET_FILE:${target}>
    COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=$<TARGET_FILE_NAME:${target}>.debug
            ${folder}/$<TARGET_FILE_NAME:${target}>
    WORKING_DIRECTORY ${folder}
    VERBATIM)
  file(MAKE_DIRECTORY ${folder})
  add_dependencies(strip-${target} ${target})
  add_dependencies(stripped strip-${target})
endfunction()
