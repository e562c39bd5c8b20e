# SPDX-License-Identifier: Apache-2.0
# The alternate event log runs in signal handlers: its object file may call nothing but functions
# that are safe there. -D NM= -D OBJECT=
cmake_minimum_required(VERSION 3.25)

set(SAFE
    close
    fchmod
    fdatasync
    fsync
    fstat
    lseek
    memcmp
    memcpy
    memmove
    memset
    open
    poll
    pread
    pwrite
    strerrordesc_np
    strlen
    strnlen
    time
    write
    __errno_location)

execute_process(COMMAND ${NM} -u ${OBJECT} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "U [^\n]+" symbols "${output}")
list(LENGTH symbols count)
if(count LESS 10)
    message(FATAL_ERROR "no symbols found in ${OBJECT}")
endif()
foreach(symbol IN LISTS symbols)
    string(SUBSTRING "${symbol}" 2 -1 symbol)
    # The compiler's own, and the 64-bit and checked forms of the C library's functions.
    if(symbol MATCHES
       "^(__stack_chk_fail|__asan_|__ubsan_|__gcov_|_GLOBAL_OFFSET_TABLE_|_GCC_|_savegpr|_restgpr)")
        continue()
    endif()
    string(REGEX REPLACE "^__(.*)_(chk|time64|2)$" "\\1" function "${symbol}")
    string(REGEX REPLACE "^__(time)64$" "\\1" function "${function}")
    string(REGEX REPLACE "^(open|pread|pwrite|fstat|lseek)64(_time64)?$" "\\1" function
                         "${function}")
    if(NOT function IN_LIST SAFE)
        message(SEND_ERROR "not safe in a signal handler: ${symbol}")
    endif()
endforeach()
