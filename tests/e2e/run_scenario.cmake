# Plays one scenario with doorlock-sim --json and compares the output with
# its golden file, or rewrites the golden file (MODE=regen). With
# FORMAT=transcript the golden is the transcript for people instead, for
# scenarios whose JSON lines would be large.
#
# -DSIM=path -DEMULATOR=prefix (list joined with '|', may be empty)
# -DSCENARIO=path -DGOLDEN=path.jsonl -DACTUAL=path [-DCHECKER=path] [-DMODE=regen]
# [-DFORMAT=transcript]
#
# A scenario with a NAME.err file next to it must stop with exit status 2 and
# exactly that text on standard error; regen writes the file for such a run. The simulator runs in the scenario's
# directory with the bare file name, so messages carry no machine's paths.

string(REPLACE "|" ";" emulator "${EMULATOR}")
get_filename_component(dir "${SCENARIO}" DIRECTORY)
get_filename_component(file "${SCENARIO}" NAME)
get_filename_component(base "${SCENARIO}" NAME_WLE)
set(expected_err "${dir}/${base}.err")

set(format --json)
if(FORMAT STREQUAL "transcript")
    set(format "")
endif()
execute_process(
    COMMAND ${emulator} "${SIM}" ${format} "${file}"
    WORKING_DIRECTORY "${dir}"
    OUTPUT_VARIABLE out
    ERROR_VARIABLE err
    RESULT_VARIABLE status)
file(WRITE "${ACTUAL}" "${out}")

if(EXISTS "${expected_err}")
    set(expected_status 2)
else()
    set(expected_status 0)
endif()

if(MODE STREQUAL "regen")
    # A run stopped by a bad line keeps its message as the expected one.
    if(status EQUAL 2)
        file(WRITE "${expected_err}" "${err}")
    elseif(status EQUAL 0)
        file(REMOVE "${expected_err}")
    else()
        message(FATAL_ERROR "${file}: exit status ${status}\n${err}")
    endif()
    file(WRITE "${GOLDEN}" "${out}")
    message(STATUS "regenerated ${GOLDEN}")
    return()
endif()

set(problems "")
if(NOT status EQUAL expected_status)
    string(APPEND problems "exit status ${status}, expected ${expected_status}\n${err}\n")
endif()
if(expected_status EQUAL 2)
    file(READ "${expected_err}" want_err)
    if(NOT err STREQUAL want_err)
        string(APPEND problems "standard error differs:\n  got:  ${err}  want: ${want_err}\n")
    endif()
endif()
if(NOT EXISTS "${GOLDEN}")
    string(APPEND problems "no golden file ${GOLDEN}; run the regen-golden target\n")
else()
    file(READ "${GOLDEN}" want)
    if(NOT out STREQUAL want)
        string(APPEND problems "output differs from ${GOLDEN} (actual: ${ACTUAL})\n")
        find_program(DIFF diff)
        if(DIFF)
            execute_process(COMMAND ${DIFF} -u "${GOLDEN}" "${ACTUAL}" OUTPUT_VARIABLE delta)
            string(SUBSTRING "${delta}" 0 6000 delta)
            string(APPEND problems "${delta}\n")
        endif()
    endif()
endif()
if(CHECKER AND NOT out STREQUAL "")
    execute_process(COMMAND ${emulator} "${CHECKER}" "${ACTUAL}"
                    ERROR_VARIABLE check_err RESULT_VARIABLE check_status)
    if(NOT check_status EQUAL 0)
        string(APPEND problems "invalid JSON lines:\n${check_err}\n")
    endif()
endif()
if(NOT problems STREQUAL "")
    message(FATAL_ERROR "${file}: ${problems}")
endif()
