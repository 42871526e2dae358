# Run by ctest: install into WORK_DIR/prefix, then build and run the consumer
# with find_package and with pkg-config.
include(${CMAKE_CURRENT_LIST_DIR}/run_step.cmake)

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

if(CONFIG)
    set(config_args --config ${CONFIG})
endif()
run("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix} ${config_args})

foreach(file include/oqDevSDK_door_lock.h)
    if(NOT EXISTS ${prefix}/${file})
        message(FATAL_ERROR "${file} was not installed")
    endif()
endforeach()

# CMake package.
run("consumer configure" ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake-build
    -G ${GENERATOR} -DCMAKE_C_COMPILER=${C_COMPILER} -DCMAKE_PREFIX_PATH=${prefix})
run("consumer build" ${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
run("consumer built with CMake" ${WORK_DIR}/cmake-build/consumer)

# pkg-config, as a plain makefile would use it.
if(NOT PKG_CONFIG)
    message(FATAL_ERROR "pkg-config not found")
endif()
file(GLOB_RECURSE pc_files ${prefix}/*/oqDevSDK_door_lock.pc)
if(NOT pc_files)
    message(FATAL_ERROR "oqDevSDK_door_lock.pc was not installed")
endif()
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
set(ENV{PKG_CONFIG_LIBDIR} ${pc_dir})
run("pkg-config --cflags" ${PKG_CONFIG} --cflags oqDevSDK_door_lock)
separate_arguments(cflags UNIX_COMMAND "${last_output}")
run("pkg-config --libs" ${PKG_CONFIG} --libs oqDevSDK_door_lock)
separate_arguments(libs UNIX_COMMAND "${last_output}")
run("pkg-config --variable=libdir" ${PKG_CONFIG} --variable=libdir oqDevSDK_door_lock)
string(STRIP "${last_output}" libdir)
run("consumer compile with pkg-config" ${C_COMPILER} -std=c11 -Wall -Werror ${cflags}
    ${CONSUMER_DIR}/main.c -o ${WORK_DIR}/consumer-pc ${libs} -Wl,-rpath,${libdir})
run("consumer built with pkg-config" ${WORK_DIR}/consumer-pc)
