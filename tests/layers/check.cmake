# SPDX-License-Identifier: Apache-2.0
# Who calls whom, looked up in the compiled objects: no call to a higher floor, no circle between
# files; and no header of a higher floor is read. Calls through the chassis row in force are free.
cmake_minimum_required(VERSION 3.25)

# The floors, the ground first.
set(FLOORS
    libs
    state
    link
    ses
    policy
    bus
    chips
    chassis
    start
    esamain)

function(floor_of name result)
    string(REGEX REPLACE "/.*" "" folder ${name})
    list(FIND FLOORS ${folder} floor)
    if(floor LESS 0)
        message(FATAL_ERROR "${name} stands on no floor: there are ${FLOORS}")
    endif()
    set(${result} ${floor} PARENT_SCOPE)
endfunction()

# ---- calls ----

# "policy/fan_policy" of the service, "libs/i2c_dev" of the libraries
string(REPLACE "|" ";" OBJECTS "${OBJECTS}")
foreach(object ${OBJECTS})
    string(REGEX REPLACE "^.*CMakeFiles/([^/]*)\\.dir/(\\./)?(.*)\\.[a-z]+\\.o$" "\\1/\\3" name
                         ${object})
    string(REGEX REPLACE "^esaservice/" "" name ${name})
    string(REGEX REPLACE "^(mpu|platform)/" "libs/" name ${name})
    execute_process(COMMAND ${NM} -P ${object} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^\n]+" symbols "${symbols}")
    foreach(symbol ${symbols})
        if(symbol MATCHES "^([^ ]+) [TDBRG] ")
            set(definer_${CMAKE_MATCH_1} ${name})
        elseif(symbol MATCHES "^([^ ]+) U")
            list(APPEND used_${name} ${CMAKE_MATCH_1})
        endif()
    endforeach()
    list(APPEND names ${name})
endforeach()

foreach(name ${names})
    floor_of(${name} floor)
    foreach(symbol ${used_${name}})
        set(definer "${definer_${symbol}}")
        if(definer AND NOT definer STREQUAL name)
            list(APPEND calls_${name} ${definer})
            floor_of(${definer} called)
            if(called GREATER floor)
                message(SEND_ERROR "a call up: ${name} calls ${symbol} of ${definer}")
            endif()
        endif()
    endforeach()
    list(REMOVE_DUPLICATES calls_${name})
endforeach()

# Files that call none of the rest are taken away until none is left, or a circle.
set(left ${names})
set(before "")
while(NOT "${left}" STREQUAL "${before}")
    set(before "${left}")
    foreach(name ${before})
        set(pending ${calls_${name}})
        list(REMOVE_ITEM pending ${name})
        set(gone TRUE)
        foreach(called ${pending})
            if(called IN_LIST left)
                set(gone FALSE)
            endif()
        endforeach()
        if(gone)
            list(REMOVE_ITEM left ${name})
        endif()
    endforeach()
endwhile()
if(left)
    message(SEND_ERROR "these call each other in a circle, or one that does: ${left}")
endif()

# ---- headers ----

file(GLOB_RECURSE files RELATIVE ${SOURCES} ${SOURCES}/*/*.h ${SOURCES}/*/*.cpp)
foreach(file ${files})
    floor_of(${file} floor)
    file(STRINGS ${SOURCES}/${file} includes REGEX "^#include \"[a-z]+/")
    foreach(include ${includes})
        string(REGEX REPLACE "^#include \"(.*)\".*" "\\1" header ${include})
        floor_of(${header} read)
        if(read GREATER floor)
            message(SEND_ERROR "a look up: ${file} includes ${header}")
        endif()
    endforeach()
endforeach()
