# Checks the .deb packages of a release build the way a lock maker's build
# would use them: unpacks runtime, -dev and tools into a scratch root, checks
# the module in it, then builds against that root and runs what it built: the
# consumer through the CMake package and through pkg-config, the reference
# device application from the -dev package's copy (both ways, qualified by the
# packaged doorlock-qualify), and the packaged simulator playing its tour.
# Usage (scripts/package runs it):
#   cmake -DPACKAGE_DIR=... -DWORK_DIR=... -DSOURCE_DIR=... -DDEB_ARCH=amd64
#         -DMULTIARCH=x86_64-linux-gnu -DC_COMPILER=cc -DREADELF=readelf
#         [-DTOOLCHAIN=file "-DEMULATOR=qemu-arm;-L;..."] -P check_packages.cmake
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/run_step.cmake)

foreach(var PACKAGE_DIR WORK_DIR SOURCE_DIR DEB_ARCH MULTIARCH C_COMPILER READELF)
    if(NOT ${var})
        message(FATAL_ERROR "${var} must be given")
    endif()
endforeach()

set(root ${WORK_DIR}/root)
set(lib ${root}/usr/lib/${MULTIARCH})
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${root})

# Each package once, for this architecture, with the version of the header.
file(STRINGS ${SOURCE_DIR}/include/oqDevSDK_door_lock.h version_lines
     REGEX "^#define OQDEVSDK_DOORLOCK_VERSION_(MAJOR|MINOR|PATCH) [0-9]+$")
string(REGEX REPLACE "[^;]* ([0-9]+)(;|$)" "\\1." version "${version_lines}")
string(REGEX REPLACE "\\.$" "" version "${version}")
string(REGEX MATCH "^[0-9]+" major "${version}")
foreach(package liboqdevsdk-door-lock${major} liboqdevsdk-door-lock-dev oqdevsdk-door-lock-tools)
    set(deb ${PACKAGE_DIR}/${package}_${version}_${DEB_ARCH}.deb)
    if(NOT EXISTS ${deb})
        message(FATAL_ERROR "${deb} was not built")
    endif()
    run("fields of ${package}" dpkg-deb -f ${deb} Architecture Version Depends)
    if(NOT last_output MATCHES "Architecture: ${DEB_ARCH}\nVersion: ${version}\n")
        message(FATAL_ERROR "${deb} has the wrong fields:\n${last_output}")
    endif()
    run("unpack ${package}" dpkg-deb -x ${deb} ${root})
endforeach()

# The module: all three names, the versioned SONAME, stripped, and no
# sanitizer runtime among what it needs.
foreach(name liboqDevSDK_door_lock.so liboqDevSDK_door_lock.so.${major}
             liboqDevSDK_door_lock.so.${version})
    if(NOT EXISTS ${lib}/${name})
        message(FATAL_ERROR "the runtime package lacks ${name}")
    endif()
endforeach()
run("readelf -d" ${READELF} -d ${lib}/liboqDevSDK_door_lock.so.${version})
if(NOT last_output MATCHES "\\(SONAME\\)[^\n]*\\[liboqDevSDK_door_lock\\.so\\.${major}\\]")
    message(FATAL_ERROR "wrong SONAME:\n${last_output}")
endif()
if(last_output MATCHES "\\(NEEDED\\)[^\n]*\\[(lib[a-z]*san[^]]*)\\]")
    message(FATAL_ERROR "the packaged module needs ${CMAKE_MATCH_1}")
endif()
run("readelf -S" ${READELF} -S ${lib}/liboqDevSDK_door_lock.so.${version})
if(last_output MATCHES "\\.symtab|\\.debug_")
    message(FATAL_ERROR "the packaged module is not stripped")
endif()

# Programs built here run natively or through the cross build's emulator; the
# packaged libraries are found through the run paths CMake gives them, the
# simulator (installed without one) through the loader's path.
set(emulator ${EMULATOR})
if(emulator)
    set(run_tool ${emulator} -E LD_LIBRARY_PATH=/lib:${lib})
else()
    set(run_tool ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${lib})
endif()
set(cmake_args -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH=${root}/usr)
if(TOOLCHAIN)
    list(APPEND cmake_args -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
else()
    list(APPEND cmake_args -DCMAKE_C_COMPILER=${C_COMPILER})
endif()

run("consumer configure" ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/install/consumer
    -B ${WORK_DIR}/consumer ${cmake_args})
run("consumer build" ${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)
run("consumer built with CMake" ${emulator} ${WORK_DIR}/consumer/consumer)

set(ENV{PKG_CONFIG_LIBDIR} ${lib}/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
run("pkg-config" pkg-config --cflags --libs oqDevSDK_door_lock)
separate_arguments(pc_flags UNIX_COMMAND "${last_output}")
run("consumer compile with pkg-config" ${C_COMPILER} -std=c99 -Wall -Werror
    ${SOURCE_DIR}/tests/install/consumer/main.c -o ${WORK_DIR}/consumer-pc ${pc_flags}
    -Wl,-rpath,${lib})
run("consumer built with pkg-config" ${emulator} ${WORK_DIR}/consumer-pc)

set(example ${root}/usr/share/doc/oqDevSDK_door_lock/examples/device_app)
run("reference device application configure" ${CMAKE_COMMAND} -S ${example}
    -B ${WORK_DIR}/device_app ${cmake_args})
run("reference device application build" ${CMAKE_COMMAND} --build ${WORK_DIR}/device_app)
run("reference device application, one second" ${emulator} ${WORK_DIR}/device_app/door_lock_app 1)
file(MAKE_DIRECTORY ${WORK_DIR}/device_app_pc)
run("reference device application with pkg-config" make -C ${WORK_DIR}/device_app_pc
    -f ${example}/Makefile VPATH=${example} CC=${C_COMPILER})
# Calls run many times slower under the emulator.
if(emulator)
    set(qualify_limits --bound 2000 --hang 10000)
endif()
foreach(build device_app device_app_pc)
    run("${build} qualified by the packaged tool" ${emulator} ${root}/usr/bin/doorlock-qualify
        ${qualify_limits} --strict ${WORK_DIR}/${build}/libdoor_lock_device.so)
endforeach()

run("packaged simulator" ${run_tool} ${root}/usr/bin/doorlock-sim
    --module ${lib}/liboqDevSDK_door_lock.so ${root}/usr/share/oqDevSDK_door_lock/tour.scn)
if(NOT last_output MATCHES "DoorLock domain registered")
    message(FATAL_ERROR "the packaged simulator did not start the module:\n${last_output}")
endif()
message(STATUS "${DEB_ARCH} packages ${version}: unpacked, consumer, reference device "
               "application (qualified) and simulator built and run against them")
