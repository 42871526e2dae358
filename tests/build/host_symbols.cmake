# The host SDK symbols the module imports, for docs/porting.md: the module's
# undefined dynamic symbols that the emulated host SDK defines, less those of
# the C library (the emulator stands in for its clock). Compares the table
# between the guide's markers with the built module, or rewrites it:
#   cmake -DNM=nm -DCXXFILT=c++filt -DMODULE=<.so> -DHOST=<emulator .so>
#         -DLIBC=<libc.so.6> -DGUIDE=docs/porting.md [-DUPDATE=ON]
#         -P host_symbols.cmake
cmake_minimum_required(VERSION 3.25)

foreach(var NM CXXFILT MODULE HOST LIBC GUIDE)
    if(NOT ${var})
        message(FATAL_ERROR "${var} must be given")
    endif()
endforeach()

function(dynamic_symbols out lib)
    execute_process(COMMAND ${NM} -D ${ARGN} ${lib} OUTPUT_VARIABLE listing RESULT_VARIABLE rc)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "${NM} failed on ${lib}")
    endif()
    string(REGEX MATCHALL "[^ \n]+\n" names "${listing}")
    list(TRANSFORM names STRIP)
    list(TRANSFORM names REPLACE "@.*$" "")
    set(${out} ${names} PARENT_SCOPE)
endfunction()

dynamic_symbols(imported ${MODULE} --undefined-only)
dynamic_symbols(host ${HOST} --defined-only)
dynamic_symbols(libc ${LIBC} --defined-only)
set(needed "")
foreach(name IN LISTS imported)
    if(name IN_LIST host AND NOT name IN_LIST libc)
        list(APPEND needed ${name})
    endif()
endforeach()
list(REMOVE_DUPLICATES needed)
list(SORT needed)

# C functions first, then the XML class's members, each with its signature.
set(c_rows "")
set(cxx_rows "")
foreach(name IN LISTS needed)
    if(name MATCHES "^_Z")
        execute_process(COMMAND ${CXXFILT} ${name} OUTPUT_VARIABLE plain
                        OUTPUT_STRIP_TRAILING_WHITESPACE)
        string(APPEND cxx_rows "| `${plain}` | `${name}` |\n")
    else()
        string(APPEND c_rows "| `${name}` | C |\n")
    endif()
endforeach()
list(LENGTH needed count)
set(table "${count} symbols.\n\n| Symbol | Linkage or mangled name |\n|---|---|\n${c_rows}${cxx_rows}")

set(begin "<!-- generated:host-symbols -->\n")
set(end "<!-- end:host-symbols -->")
file(READ ${GUIDE} guide)
string(FIND "${guide}" "${begin}" at_begin)
string(FIND "${guide}" "${end}" at_end)
if(at_begin EQUAL -1 OR at_end EQUAL -1 OR at_end LESS at_begin)
    message(FATAL_ERROR "${GUIDE} lacks the host-symbols markers")
endif()
string(LENGTH "${begin}" begin_len)
math(EXPR body_at "${at_begin} + ${begin_len}")
math(EXPR body_len "${at_end} - ${body_at}")
string(SUBSTRING "${guide}" ${body_at} ${body_len} current)

if(current STREQUAL table)
    message(STATUS "${GUIDE}: the host symbol list matches the module (${count} symbols)")
elseif(UPDATE)
    string(SUBSTRING "${guide}" 0 ${body_at} head)
    string(SUBSTRING "${guide}" ${at_end} -1 tail)
    file(WRITE ${GUIDE} "${head}${table}${tail}")
    message(STATUS "${GUIDE}: host symbol list rewritten (${count} symbols)")
else()
    message(FATAL_ERROR "${GUIDE}: the host symbol list is stale; the module imports:\n${table}"
            "Rewrite it with: cmake --build <build dir> --target update-host-symbols")
endif()
