# Run by ctest: doorlock-qualify LIBRARY must exit with STATUS and print each
# line of EXPECT ("|"-separated regular expressions: a type code's verdict
# line, then the findings listed under it).
string(REPLACE "|" ";" emulator "${EMULATOR}")
string(REPLACE "|" ";" limits "${LIMITS}")
execute_process(COMMAND ${emulator} ${QUALIFY} ${limits} --report ${LIBRARY}.json ${LIBRARY}
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL STATUS)
    message(FATAL_ERROR "exit status ${rc}, expected ${STATUS}\n${out}${err}")
endif()
string(REPLACE "|" ";" expect "${EXPECT}")
foreach(line IN LISTS expect)
    if(NOT "${out}${err}" MATCHES "${line}")
        message(FATAL_ERROR "no line matches '${line}':\n${out}${err}")
    endif()
endforeach()
if(STATUS EQUAL 1)
    return()  # usage or library errors write no report
endif()
file(READ ${LIBRARY}.json report)
string(JSON verdict GET "${report}" exit_status)
if(NOT verdict EQUAL STATUS)
    message(FATAL_ERROR "the JSON report says exit status ${verdict}:\n${report}")
endif()
