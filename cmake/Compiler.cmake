# Warnings, hardening and instrumentation for everything that is compiled here.

# A launcher of the user's choice stays; an empty one means none.
if(NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(CCACHE_PROGRAM ccache)
  if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
  endif()
endif()

add_compile_options(
  -Wall -Wextra -Wpedantic
  -Wconversion -Wsign-conversion -Wdouble-promotion
  -Wshadow -Wold-style-cast -Wcast-qual -Wcast-align
  -Wnon-virtual-dtor -Woverloaded-virtual
  -Wformat=2 -Wimplicit-fallthrough -Wundef)
# clang does not know it, and with four-byte pointers std::size_t is unsigned int, which makes casts
# useless that 64 bits need.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  add_compile_options(-Wuseless-cast)
endif()

# What goes on a board does not know where it was built: two checkouts give the same bytes. For a
# debugger: set substitute-path /usr/src/orvane-webgui CHECKOUT. The compiler's cache passes relative
# paths, hence the second.
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  file(RELATIVE_PATH upwards ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
  string(REGEX REPLACE "/$" "" upwards "${upwards}")
  foreach(path IN ITEMS ${PROJECT_SOURCE_DIR} ${upwards})
    add_compile_options(-ffile-prefix-map=${path}=/usr/src/orvane-webgui)
  endforeach()
endif()

# Optimised, with debug information; orvane_strip() below splits it off.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g -DNDEBUG")

# Fast enough to try many inputs, with readable stack traces.
set(CMAKE_CXX_FLAGS_FUZZ "-O1 -g")

if(CMAKE_BUILD_TYPE STREQUAL "Release")
  add_compile_options(
    -fstack-protector-strong -fstack-clash-protection
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
    -ffunction-sections -fdata-sections)
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--gc-sections -Wl,--as-needed)
endif()
# Really links with -pie; CMAKE_POSITION_INDEPENDENT_CODE alone only compiles for it. Not under the
# address sanitizer, whose tables need 880,000 relocations at the start of a test program: without
# them its processor time falls from 37 to 26 ms, and the tests start some three thousand processes.
if(ORVANE_SANITIZE MATCHES address AND NOT ORVANE_FUZZ)
  set(CMAKE_CXX_LINK_PIE_SUPPORTED OFF) # what a cache remembers would add -pie
  add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-no-pie>)
else()
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
endif()

# A sanitizer's report needs functions and lines; more debug information only costs time.
if(ORVANE_SANITIZE)
  add_compile_options(-fsanitize=${ORVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${ORVANE_SANITIZE})
endif()

# Coverage for libFuzzer everywhere; only the fuzz targets link its main.
if(ORVANE_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(ORVANE_COVERAGE)
  # Counts our own code except tests, and nothing instantiated from system headers. Inline functions
  # count wherever they were compiled. The two options are in a specs file, because ccache does not
  # know them and would refuse to cache. With ccache, paths of tests are relative: the last pattern.
  # Counters need no debug information, and compiling it takes a sixth of the time.
  string(REGEX REPLACE "[^A-Za-z0-9/_-]" "." root_pattern "${PROJECT_SOURCE_DIR}")
  file(CONFIGURE OUTPUT coverage.specs CONTENT "*cc1plus:
+ -fprofile-update=atomic -fprofile-exclude-files=^/usr/;^${root_pattern}/tests/;^[.][.]/[.][.]/tests/

")
  add_compile_options(--coverage -g0 -fprofile-abs-path -specs=${CMAKE_BINARY_DIR}/coverage.specs)
  add_link_options(--coverage)
endif()

# orvane_strip(TARGET): for release builds, strips a copy of a program or library into stripped/, with its
# debug information beside it in <name>.debug: `cmake --build build/release --target stripped`.
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
