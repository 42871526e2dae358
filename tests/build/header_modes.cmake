# Compiles the public header (header_unit.c) in every language mode it
# supports, with strict warnings as errors, and checks that a broken layout
# check fails to compile in each of them. Usage:
#   cmake -DC_COMPILER=... -DCXX_COMPILER=... -DINCLUDE_DIR=... -DUNIT=... \
#         "-DWARNINGS=..." -P header_modes.cmake
cmake_minimum_required(VERSION 3.25)

foreach(var C_COMPILER CXX_COMPILER INCLUDE_DIR UNIT)
    if(NOT ${var})
        message(FATAL_ERROR "${var} must be given")
    endif()
endforeach()

set(c_modes c99 gnu99 c11 gnu11 c17 c2x)
set(cxx_modes c++11 gnu++11 c++14 c++17 c++20 c++2b)
set(c_flags -Wstrict-prototypes -Wmissing-prototypes)
set(cxx_flags -Wold-style-cast -Wzero-as-null-pointer-constant)

set(failures "")
function(compile lang mode broken)
    if(lang STREQUAL "c")
        set(compiler ${C_COMPILER})
        set(extra ${c_flags})
    else()
        set(compiler ${CXX_COMPILER})
        set(extra ${cxx_flags})
    endif()
    set(define "")
    if(broken)
        set(define -DDOORLOCK_BREAK_LAYOUT)
    endif()
    execute_process(
        COMMAND ${compiler} -x ${lang} -std=${mode} -fsyntax-only -pedantic-errors ${WARNINGS}
                ${extra} ${define} -I${INCLUDE_DIR} ${UNIT}
        RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(broken AND rc EQUAL 0)
        set(failures "${failures}\n-std=${mode}: a broken layout check compiled" PARENT_SCOPE)
    elseif(NOT broken AND NOT rc EQUAL 0)
        set(failures "${failures}\n-std=${mode}: ${out}" PARENT_SCOPE)
    endif()
endfunction()

foreach(mode IN LISTS c_modes)
    compile(c ${mode} FALSE)
    compile(c ${mode} TRUE)
endforeach()
foreach(mode IN LISTS cxx_modes)
    compile(c++ ${mode} FALSE)
    compile(c++ ${mode} TRUE)
endforeach()

if(failures)
    message(FATAL_ERROR "The public header does not hold in every mode:${failures}")
endif()
list(JOIN c_modes " " c_text)
list(JOIN cxx_modes " " cxx_text)
message(STATUS "Header compiles as ${c_text} ${cxx_text}; a broken layout fails in each")
