# SPDX-License-Identifier: Apache-2.0
# The alternate event log runs in signal handlers: its object file may call nothing but functions
# that are safe there, and the compiler's own. -D NM= -D OBJECT=
cmake_minimum_required(VERSION 3.25)

set(files "close|fchmod|fdatasync|fsync|fstat|lseek|open|poll|pread|pwrite|write")
set(others "mem(cmp|cpy|move|set)|strn?len|strerrordesc_np|time|__errno_location")
set(compiler
    "__stack_chk_fail|__(asan|ubsan|gcov)_.*|_GLOBAL_OFFSET_TABLE_|_GCC_.*|_(save|rest)gpr.*")

execute_process(COMMAND ${NM} -u ${OBJECT} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "U [^\n]+" symbols "${output}")
list(LENGTH symbols count)
if(count LESS 10)
    message(FATAL_ERROR "no symbols found in ${OBJECT}")
endif()
# With the 64-bit and checked forms of the C library's functions.
list(FILTER symbols EXCLUDE REGEX "^U (_*(${files}|${others})(64)?(_chk|_time64|_2)?|${compiler})$")
if(symbols)
    message(FATAL_ERROR "not safe in a signal handler: ${symbols}")
endif()
