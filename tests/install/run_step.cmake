# run(WHAT COMMAND...): runs one step of an install test, stops the test with
# the step's output when it fails, and leaves that output in last_output.
function(run what)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "${what} failed (${rc}):\n${out}")
    endif()
    set(last_output "${out}" PARENT_SCOPE)
endfunction()
