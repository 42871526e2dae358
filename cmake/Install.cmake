# Installs the module the way a library is installed: the .so, the public
# header, a CMake package (find_package(oqDevSDK_door_lock), imported target
# oqDevSDK::door_lock) and a pkg-config file. Every file belongs to one of the
# components the packages are made of (cmake/Packaging.cmake): runtime (what
# a lock needs to run), dev (what building a device application needs) and
# tools (the simulator).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(DOORLOCK_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/oqDevSDK_door_lock)

# The library installs as liboqDevSDK_door_lock.so.MAJOR.MINOR.PATCH with the
# links .so.MAJOR (its SONAME) and the plain .so, which device applications
# that load the module by name open.
set_target_properties(oqDevSDK_door_lock PROPERTIES EXPORT_NAME door_lock)

install(TARGETS oqDevSDK_door_lock EXPORT oqDevSDK_door_lockTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
                COMPONENT runtime NAMELINK_COMPONENT runtime
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/oqDevSDK_door_lock.h
              ${PROJECT_SOURCE_DIR}/include/oqDevSDK_door_lock_device.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)

# Built against the emulated host SDK, the module needs the emulator at run
# time; it goes next to the module, which finds it through its run path.
# A board's host SDK is the board's business and is not installed from here.
if(TARGET oqdev_host_sdk AND NOT DOORLOCK_HOST_SDK_DIR)
    set_target_properties(oqdev_host_sdk PROPERTIES EXPORT_NAME host_sim)
    install(TARGETS oqdev_host_sdk EXPORT oqDevSDK_door_lockTargets
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
    set_target_properties(oqDevSDK_door_lock PROPERTIES INSTALL_RPATH "$ORIGIN")
    set(DOORLOCK_PC_HOST_LIBS "-loqdev_host_sim")
else()
    set(DOORLOCK_PC_HOST_LIBS "")
endif()

install(EXPORT oqDevSDK_door_lockTargets
        NAMESPACE oqDevSDK::
        DESTINATION ${DOORLOCK_INSTALL_CMAKEDIR} COMPONENT dev)

configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/oqDevSDK_door_lockConfig.cmake.in
    ${PROJECT_BINARY_DIR}/oqDevSDK_door_lockConfig.cmake
    INSTALL_DESTINATION ${DOORLOCK_INSTALL_CMAKEDIR})
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/oqDevSDK_door_lockConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/oqDevSDK_door_lockConfig.cmake
              ${PROJECT_BINARY_DIR}/oqDevSDK_door_lockConfigVersion.cmake
        DESTINATION ${DOORLOCK_INSTALL_CMAKEDIR} COMPONENT dev)

# The .pc file finds its prefix from where it lies, so a tree installed with
# --prefix or DESTDIR, or copied into a sysroot, still points at itself.
file(RELATIVE_PATH DOORLOCK_PC_TO_PREFIX /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
string(REGEX REPLACE "/$" "" DOORLOCK_PC_TO_PREFIX "${DOORLOCK_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/oqDevSDK_door_lock.pc.in
               ${PROJECT_BINARY_DIR}/oqDevSDK_door_lock.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/oqDevSDK_door_lock.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

# The reference device application, for an integrator to start from.
install(FILES ${PROJECT_SOURCE_DIR}/examples/device_app/CMakeLists.txt
              ${PROJECT_SOURCE_DIR}/examples/device_app/Makefile
              ${PROJECT_SOURCE_DIR}/examples/device_app/main.c
              ${PROJECT_SOURCE_DIR}/examples/device_app/door_lock_device.c
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/device_app COMPONENT dev)

