# One sanitizer set for the whole build, so that the emulator, the module and
# the tests agree.
if(DOORLOCK_SANITIZE STREQUAL "asan")
    set(_san -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
elseif(DOORLOCK_SANITIZE STREQUAL "tsan")
    set(_san -fsanitize=thread -fno-omit-frame-pointer)
elseif(DOORLOCK_SANITIZE STREQUAL "ubsan")
    set(_san -fsanitize=undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
        # Thumb function addresses carry bit 0, so binding a reference to a
        # function (std::thread(Fn), std::function) trips the alignment check.
        # The x86-64 ASan+UBSan leg keeps checking alignment.
        list(APPEND _san -fno-sanitize=alignment)
    endif()
elseif(NOT DOORLOCK_SANITIZE STREQUAL "")
    message(FATAL_ERROR "Unknown DOORLOCK_SANITIZE '${DOORLOCK_SANITIZE}'")
endif()
if(DEFINED _san)
    add_compile_options(${_san})
    add_link_options(${_san})
endif()

# A fuzzing build instruments the emulator and the module for libFuzzer's
# coverage feedback; only the harnesses link the fuzzer's main.
if(DOORLOCK_BUILD_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        message(FATAL_ERROR "DOORLOCK_BUILD_FUZZ needs clang (CC=clang CXX=clang++)")
    endif()
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
