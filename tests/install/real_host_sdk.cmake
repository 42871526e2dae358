# Run by ctest: stands in a real host SDK (the emulator's sources built under
# another library name, the public host headers beside it), builds the module
# against it with DOORLOCK_HOST_SDK_DIR, and checks that the module links that
# library and that nothing of the emulator is built or installed.
include(${CMAKE_CURRENT_LIST_DIR}/run_step.cmake)

set(sdk ${WORK_DIR}/sdk)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${sdk}/include ${sdk}/lib)
file(COPY ${SOURCE_DIR}/host_sdk/include/ DESTINATION ${sdk}/include)
run("stand-in host SDK" ${CXX_COMPILER} -std=c++17 -shared -fPIC
    -I${SOURCE_DIR}/host_sdk/include -I${SOURCE_DIR}/host_sdk/emulator/include ${EMULATOR_SOURCES}
    -o ${sdk}/lib/liboqdev_sdk.so -Wl,-soname,liboqdev_sdk.so -lpugixml -pthread)

set(build ${WORK_DIR}/build)
run("configure" ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${build} -G ${GENERATOR}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_C_COMPILER=${C_COMPILER}
    -DCMAKE_BUILD_TYPE=Debug -DDOORLOCK_HOST_SDK_DIR=${sdk})
run("build" ${CMAKE_COMMAND} --build ${build})
run("install" ${CMAKE_COMMAND} --install ${build} --prefix ${WORK_DIR}/prefix)

file(GLOB_RECURSE emulator_files ${build}/*oqdev_host_sim* ${WORK_DIR}/prefix/*oqdev_host_sim*)
if(emulator_files)
    message(FATAL_ERROR "the emulator was built or installed: ${emulator_files}")
endif()
foreach(target doorlock-sim test_frame)
    file(GLOB_RECURSE found ${build}/${target})
    if(found)
        message(FATAL_ERROR "${target} was built although it needs the emulator")
    endif()
endforeach()

run("readelf" ${READELF} -d ${WORK_DIR}/prefix/lib/liboqDevSDK_door_lock.so)
if(NOT last_output MATCHES "NEEDED[^\n]*\\[liboqdev_sdk\\.so\\]")
    message(FATAL_ERROR "the module does not link the host SDK's library:\n${last_output}")
endif()
