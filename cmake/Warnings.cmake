# Strict warnings for the project's own code.
set(DOORLOCK_WARNINGS
    -Wall -Wextra -Werror -Wshadow -Wconversion -Wno-sign-conversion -Wformat=2
    -Wcast-align -Wnull-dereference -Wundef -Wmissing-declarations)

function(doorlock_strict_warnings target)
    target_compile_options(${target} PRIVATE
        ${DOORLOCK_WARNINGS}
        $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast>)
endfunction()
