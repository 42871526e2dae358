# Fails unless the three entry points are the only symbols the library
# defines in its dynamic symbol table. Usage:
#   cmake -DNM=<nm> -DLIBRARY=<path to .so> -P check_exports.cmake
cmake_minimum_required(VERSION 3.25)

set(allowed oqDevSDK_DoorLock_Init oqDevSDK_DoorLock_Fini oqDevSDK_DoorLock_Send2Srv_Msg)
# Markers the linker defines in every shared object (the ARM EABI adds the
# __bss_end__ family).
set(linker_marks _init _fini _edata _end __bss_start __bss_start__ __bss_end__ _bss_end__ __end__)

if(NOT NM OR NOT LIBRARY)
    message(FATAL_ERROR "NM and LIBRARY must be given")
endif()
execute_process(COMMAND ${NM} -D --defined-only -P ${LIBRARY}
                OUTPUT_VARIABLE listing ERROR_VARIABLE errors RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${NM} failed on ${LIBRARY}: ${errors}")
endif()

string(REPLACE "\n" ";" lines "${listing}")
set(found "")
set(unexpected "")
foreach(line IN LISTS lines)
    # POSIX format: "name type [value [size]]"; versioned names carry @VER.
    if(NOT line MATCHES "^([^ @]+)[@A-Za-z0-9_.]* ([A-Za-z])")
        continue()
    endif()
    set(name ${CMAKE_MATCH_1})
    if(name IN_LIST linker_marks)
        continue()
    endif()
    if(name IN_LIST allowed)
        list(APPEND found ${name})
    else()
        list(APPEND unexpected "${name} (${CMAKE_MATCH_2})")
    endif()
endforeach()

set(missing "")
foreach(name IN LISTS allowed)
    if(NOT name IN_LIST found)
        list(APPEND missing ${name})
    endif()
endforeach()

if(unexpected OR missing)
    list(JOIN unexpected "\n  " unexpected_text)
    list(JOIN missing "\n  " missing_text)
    message(FATAL_ERROR "Export check of ${LIBRARY} failed.\n"
            "Exported but not an entry point:\n  ${unexpected_text}\n"
            "Entry points not exported:\n  ${missing_text}")
endif()
message(STATUS "Exports of ${LIBRARY}: ${found}")
