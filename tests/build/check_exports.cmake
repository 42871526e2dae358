# Fails unless the three entry points are the only symbols the library
# defines in its dynamic symbol table, its SONAME is the versioned name, and
# (unless the build is sanitized) it needs no sanitizer runtime. Usage:
#   cmake -DNM=<nm> -DREADELF=<readelf> -DLIBRARY=<path to .so> -DSONAME=<name>
#         -DSANITIZED=<0|1> -P check_exports.cmake
cmake_minimum_required(VERSION 3.25)

set(allowed oqDevSDK_DoorLock_Init oqDevSDK_DoorLock_Fini oqDevSDK_DoorLock_Send2Srv_Msg)
# Markers the linker defines in every shared object (the ARM EABI adds the
# __bss_end__ family).
set(linker_marks _init _fini _edata _end __bss_start __bss_start__ __bss_end__ _bss_end__ __end__)

if(NOT NM OR NOT LIBRARY OR NOT READELF OR NOT SONAME)
    message(FATAL_ERROR "NM, READELF, LIBRARY and SONAME must be given")
endif()

# Device applications link the versioned name; the plain name stays a link
# to it for those that load the module by that name.
execute_process(COMMAND ${READELF} -d ${LIBRARY} OUTPUT_VARIABLE dynamic RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${READELF} failed on ${LIBRARY}")
endif()
if(NOT dynamic MATCHES "\\(SONAME\\)[^\n]*\\[([^]]+)\\]")
    message(FATAL_ERROR "${LIBRARY} has no SONAME")
endif()
set(found_soname ${CMAKE_MATCH_1})
if(NOT found_soname STREQUAL SONAME OR NOT SONAME MATCHES "^liboqDevSDK_door_lock\\.so\\.[0-9]+$")
    message(FATAL_ERROR "SONAME of ${LIBRARY} is ${found_soname}, expected ${SONAME} "
            "(liboqDevSDK_door_lock.so.MAJOR)")
endif()
get_filename_component(dir ${LIBRARY} DIRECTORY)
foreach(link liboqDevSDK_door_lock.so ${SONAME})
    if(NOT EXISTS ${dir}/${link})
        message(FATAL_ERROR "${dir}/${link} is missing")
    endif()
endforeach()
if(NOT SANITIZED AND dynamic MATCHES "\\(NEEDED\\)[^\n]*\\[(lib[a-z]*san[^]]*)\\]")
    message(FATAL_ERROR "${LIBRARY} of an unsanitized build needs ${CMAKE_MATCH_1}")
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
