# Run by ctest: installs into WORK_DIR/prefix, builds the installed reference
# device application with the CMake package and with its Makefile
# (pkg-config), and qualifies both builds with the installed doorlock-qualify.
include(${CMAKE_CURRENT_LIST_DIR}/run_step.cmake)

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR}/make)

if(CONFIG)
    set(config_args --config ${CONFIG})
endif()
run("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix} ${config_args})
file(GLOB_RECURSE examples ${prefix}/door_lock_device.c)
if(NOT examples)
    message(FATAL_ERROR "the reference device application was not installed")
endif()
get_filename_component(example ${examples} DIRECTORY)

run("CMake configure" ${CMAKE_COMMAND} -S ${example} -B ${WORK_DIR}/cmake -G ${GENERATOR}
    -DCMAKE_C_COMPILER=${C_COMPILER} -DCMAKE_PREFIX_PATH=${prefix})
run("CMake build" ${CMAKE_COMMAND} --build ${WORK_DIR}/cmake)

file(GLOB_RECURSE pc_files ${prefix}/*/oqDevSDK_door_lock.pc)
get_filename_component(pc_dir ${pc_files} DIRECTORY)
set(ENV{PKG_CONFIG_LIBDIR} ${pc_dir})
set(ENV{PKG_CONFIG_PATH} "")
run("make with pkg-config" make -C ${WORK_DIR}/make -f ${example}/Makefile VPATH=${example}
    CC=${C_COMPILER} PKG_CONFIG=${PKG_CONFIG})

foreach(build cmake make)
    run("${build}: application, started and stopped" ${WORK_DIR}/${build}/door_lock_app 0)
    run("${build}: qualification" ${prefix}/bin/doorlock-qualify --strict
        ${WORK_DIR}/${build}/libdoor_lock_device.so)
endforeach()
