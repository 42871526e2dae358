# Changes one note of the guide's face plan table, then one of the header's,
# and expects doc-tables --check to refuse both copies. Usage:
#   cmake -DTOOL=... -DHEADER=... -DGUIDE=... -DWORK=... -P mismatch.cmake
cmake_minimum_required(VERSION 3.25)

set(encoding "time of day, host SDK's encoding")
file(READ ${GUIDE} guide)
file(READ ${HEADER} header)
foreach(text IN ITEMS "${guide}" "${header}")
    string(FIND "${text}" "${encoding}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "neither copy may lack the face plan note '${encoding}'")
    endif()
endforeach()

file(MAKE_DIRECTORY ${WORK})
string(REPLACE "${encoding}" "minutes" wrong_guide "${guide}")
string(REPLACE "${encoding}" "minutes" wrong_header "${header}")
file(WRITE ${WORK}/guide.md "${wrong_guide}")
file(WRITE ${WORK}/header.h "${wrong_header}")

foreach(pair "${HEADER};${WORK}/guide.md" "${WORK}/header.h;${GUIDE}")
    list(GET pair 0 h)
    list(GET pair 1 g)
    execute_process(COMMAND ${TOOL} --check ${h} ${g} RESULT_VARIABLE rc
                    OUTPUT_QUIET ERROR_QUIET)
    if(rc EQUAL 0)
        message(FATAL_ERROR "doc-tables accepted ${g} against ${h}")
    endif()
endforeach()
message(STATUS "doc-tables refuses a face plan note that differs from the header's")
