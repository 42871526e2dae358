# Run by ctest: doorlock-sim --conformance --device DEVICE must fail with the
# report in EXPECTED (the library's path written as DEVICE).
string(REPLACE "|" ";" emulator "${EMULATOR}")
execute_process(COMMAND ${emulator} ${SIM} --conformance --device ${DEVICE}
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 3)
    message(FATAL_ERROR "exit status ${rc}, expected 3 (findings)\n${out}${err}")
endif()
string(REPLACE "${DEVICE}" "DEVICE" out "${out}")
file(READ ${EXPECTED} expected)
if(NOT out STREQUAL expected)
    message(FATAL_ERROR "findings differ from ${EXPECTED}:\n${out}")
endif()
