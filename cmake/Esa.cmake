# SPDX-License-Identifier: Apache-2.0
# Build rules shared by all folders.

option(ESA_TESTS "build the tests" ON)
option(ESA_BENCH "build the benchmarks" OFF)
option(ESA_FUZZ "build the service and its fuzz harness only" OFF)
option(ESA_OPTIMIZED_DAEMON "the daemon as it ships, whatever the build type" OFF)
option(ESA_COVERAGE "the service and its libraries count what runs" OFF)
option(ESA_UNITY "compile much of the lab in one piece: its headers cost more than its code" OFF)
set(ESA_SANITIZE "" CACHE STRING "value for -fsanitize=, empty for none")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_UNITY_BUILD_BATCH_SIZE 0)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

find_program(ESA_CCACHE ccache)
if(ESA_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # Precompiled headers are cached only when their defines may be taken on trust.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
                                    CCACHE_SLOPPINESS=pch_defines,time_macros ${ESA_CCACHE})
endif()

find_package(Threads REQUIRED)
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckPIESupported)
check_pie_supported()

add_library(esa_warning_flags INTERFACE)
target_compile_options(
    esa_warning_flags
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Wconversion
              -Wshadow
              -Wformat=2
              -Wcast-align
              -Wundef
              -Wmissing-declarations
              -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # clang knows none of these.
    target_compile_options(esa_warning_flags INTERFACE -Wredundant-decls -Wuseless-cast
                                                       -Wformat-signedness)
endif()

# Undefined behaviour is watched for in the service and its libraries only: elsewhere it would double
# the time to compile.
add_library(esa_sanitizers INTERFACE)
if(ESA_SANITIZE)
    string(REPLACE ",undefined" "" sanitize_all ${ESA_SANITIZE})
    target_compile_options(
        esa_sanitizers INTERFACE -fsanitize=${sanitize_all} -fno-omit-frame-pointer
                                 -fno-sanitize-recover=all)
    target_link_options(esa_sanitizers INTERFACE -fsanitize=${ESA_SANITIZE})
endif()

# Everything of ours: warnings are errors, time and file offsets are 64 bits wide on both targets.
add_library(esa_warnings INTERFACE)
target_link_libraries(esa_warnings INTERFACE esa_warning_flags esa_sanitizers)
target_compile_definitions(esa_warnings INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)

# The daemon and its libraries: hardened, and volts are computed alike on both targets.
add_library(esa_daemon_flags INTERFACE)
target_link_libraries(esa_daemon_flags INTERFACE esa_warnings)
target_compile_options(esa_daemon_flags INTERFACE -ffp-contract=off -fstack-protector-strong
                                                  -fno-exceptions -fno-rtti)
target_link_options(esa_daemon_flags INTERFACE -Wl,-z,relro,-z,now)
# Not every machine has these: control flow is protected on x86 only.
foreach(flag stack-clash-protection cf-protection)
    check_cxx_compiler_flag(-f${flag} ESA_HAS_${flag})
    if(ESA_HAS_${flag})
        target_compile_options(esa_daemon_flags INTERFACE -f${flag})
    endif()
endforeach()
# The C library warns of a level that it or the compiler does not have. Whoever builds a package has
# given a level of his own, maybe the compiler, too.
set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
check_cxx_source_compiles("#include <string.h>\nint main() { return 0; }" ESA_HAS_FORTIFY_3)
unset(CMAKE_REQUIRED_FLAGS)
set(fortify -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=$<IF:$<BOOL:${ESA_HAS_FORTIFY_3}>,3,2>)
if(ESA_SANITIZE)
    target_compile_options(esa_daemon_flags INTERFACE -fsanitize=${ESA_SANITIZE})
endif()
if(ESA_OPTIMIZED_DAEMON)
    target_compile_options(esa_daemon_flags INTERFACE -O2 ${fortify})
elseif(NOT ESA_SANITIZE)
    target_compile_options(esa_daemon_flags INTERFACE "$<$<NOT:$<CONFIG:Debug>>:${fortify}>")
endif()

# A process that ends by abort() or _exit() writes its counts, too.
add_library(esa_coverage INTERFACE)
if(ESA_COVERAGE)
    add_library(coverage_end STATIC ${PROJECT_SOURCE_DIR}/cmake/coverage_end.cpp)
    target_link_libraries(esa_coverage INTERFACE coverage_end)
    target_link_options(esa_coverage INTERFACE --coverage -Wl,--wrap=abort -Wl,--wrap=_exit)
    target_compile_options(esa_daemon_flags INTERFACE --coverage)
    target_link_libraries(esa_daemon_flags INTERFACE esa_coverage)
endif()

# What ships is optimized across its sources, and brings no tables for exceptions it cannot throw. The
# objects hold machine code too, for the tests, which link single ones.
set(ESA_LTO OFF)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND NOT ESA_SANITIZE)
    if(ESA_OPTIMIZED_DAEMON OR CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
        set(ESA_LTO ON)
        target_compile_options(esa_daemon_flags INTERFACE -flto -ffat-lto-objects
                                                          -fno-asynchronous-unwind-tables)
    endif()
endif()

# Header-only libraries of the build machine (Asio, CLI11, fmt, nlohmann-json, toml++) for the lab and the
# tools. They are reached through links of their own: the cross compiler must not see the rest of
# /usr/include.
set(ESA_HOST_HEADERS ${CMAKE_BINARY_DIR}/host-headers)
file(MAKE_DIRECTORY ${ESA_HOST_HEADERS})
foreach(header asio asio.hpp CLI fmt nlohmann toml++)
    file(CREATE_LINK /usr/include/${header} ${ESA_HOST_HEADERS}/${header} SYMBOLIC)
endforeach()
add_library(esa_host_headers INTERFACE)
target_include_directories(esa_host_headers SYSTEM INTERFACE ${ESA_HOST_HEADERS})
# Asio chooses its allocator by what was included before it: one choice for all sources.
target_compile_definitions(esa_host_headers INTERFACE ASIO_STANDALONE ASIO_NO_DEPRECATED
                                                      ASIO_DISABLE_STD_ALIGNED_ALLOC)
add_library(host_fmt STATIC ${PROJECT_SOURCE_DIR}/cmake/fmt.cpp)
target_include_directories(host_fmt SYSTEM PRIVATE ${ESA_HOST_HEADERS})
target_link_libraries(host_fmt PRIVATE esa_sanitizers)
target_link_libraries(esa_host_headers INTERFACE host_fmt Threads::Threads)

if(ESA_TESTS)
    if(CMAKE_CROSSCOMPILING)
        # Debian ships GoogleTest as source too; the cross build needs its own copy. It defines the
        # GTest:: aliases itself.
        set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
        add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    else()
        find_package(GTest REQUIRED)
    endif()
    include(GoogleTest)

    # GoogleTest's headers are parsed once. A program, because the tests are: the flags must be the
    # same.
    add_executable(test_pch EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/cmake/empty.cpp)
    target_link_libraries(test_pch PRIVATE esa_warnings GTest::gmock)
    target_precompile_headers(test_pch PRIVATE <gmock/gmock.h> <gtest/gtest.h>)

    # A test is ended by the clock only when it hangs; its program says first which one that was.
    set(ESA_TEST_LIMIT TIMEOUT 3600 ENVIRONMENT ESA_TEST_SECONDS=3500)
    add_library(test_support OBJECT ${PROJECT_SOURCE_DIR}/tests/support/script.cpp
                                    ${PROJECT_SOURCE_DIR}/tests/support/watchdog.cpp)
    target_include_directories(test_support PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(test_support PRIVATE esa_warnings GTest::gmock)
endif()

# esa_test(NAME SOURCES a.cpp b.cpp [LIBS x y] [EACH])
# One test program. SOURCES are relative to the repository; of the service and its libraries they list
# exactly the files under test, so that a call against the layering does not link. Those are not
# compiled again: their objects are taken from the library they belong to. EACH makes every test of
# the program a test of CTest, for long ones that shall run side by side; otherwise the program is one.
function(esa_test NAME)
    cmake_parse_arguments(T "EACH" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${NAME})
    foreach(source ${T_SOURCES})
        string(REGEX REPLACE "^apps/esa/" "apps/esa/CMakeFiles/esaservice.dir/" object ${source})
        string(REGEX REPLACE "^libs/MPU/" "libs/MPU/CMakeFiles/mpu.dir/" object ${object})
        string(REGEX REPLACE "^libs/platform/" "libs/platform/CMakeFiles/platform.dir/" object
                             ${object})
        if(object STREQUAL source)
            target_sources(${NAME} PRIVATE ${PROJECT_SOURCE_DIR}/${source})
        else()
            set(object ${PROJECT_BINARY_DIR}/${object}.o)
            set_source_files_properties(${object} PROPERTIES EXTERNAL_OBJECT ON GENERATED ON)
            target_sources(${NAME} PRIVATE ${object})
        endif()
    endforeach()
    target_include_directories(
        ${NAME} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/libs
                        ${PROJECT_SOURCE_DIR}/apps/esa ${PROJECT_SOURCE_DIR})
    target_link_libraries(${NAME} PRIVATE ${T_LIBS} test_support esa_warnings esa_coverage
                                          GTest::gmock_main Threads::Threads)
    target_link_options(${NAME} PRIVATE -fno-lto)
    target_precompile_headers(${NAME} REUSE_FROM test_pch)
    if(T_EACH)
        gtest_discover_tests(${NAME} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 600
                             PROPERTIES ${ESA_TEST_LIMIT})
    else()
        add_test(NAME ${NAME} COMMAND ${NAME} --gtest_brief=1)
        set_tests_properties(${NAME} PROPERTIES ${ESA_TEST_LIMIT})
    endif()
endfunction()
