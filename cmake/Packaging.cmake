# Debian packages of the module, made by CPack from the install components:
#   liboqdevsdk-door-lock1     runtime: the module (all three names) and, in a
#                              build against the emulated host SDK, the emulator
#   liboqdevsdk-door-lock-dev  dev: headers, CMake package, pkg-config file,
#                              the guide, the reference device application's
#                              sources
#   oqdevsdk-door-lock-tools   tools: doorlock-sim and its tour, doorlock-qualify
# Built by the release presets (cmake --workflow --preset release, or
# armhf-release) and checked by scripts/package.

# The simulator is defined after cmake/Install.cmake runs, so it is installed
# from here (doorlock-qualify installs itself).
if(TARGET doorlock-sim)
    install(TARGETS doorlock-sim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    install(FILES ${PROJECT_SOURCE_DIR}/scenarios/tour.scn
            DESTINATION ${CMAKE_INSTALL_DATADIR}/oqDevSDK_door_lock COMPONENT tools)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/scenarios/tour
            DESTINATION ${CMAKE_INSTALL_DATADIR}/oqDevSDK_door_lock COMPONENT tools)
endif()

# Debian's architecture names for the processors the presets build for; a
# board's build sets DOORLOCK_DEB_ARCH itself.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
    set(_deb_arch amd64)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm" AND CMAKE_LIBRARY_ARCHITECTURE MATCHES "gnueabihf$")
    set(_deb_arch armhf)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
    set(_deb_arch arm64)
else()
    set(_deb_arch ${CMAKE_SYSTEM_PROCESSOR})
endif()
set(DOORLOCK_DEB_ARCH ${_deb_arch} CACHE STRING "Debian architecture of the packages")

set(_runtime_pkg liboqdevsdk-door-lock${PROJECT_VERSION_MAJOR})
# The integrator's guide goes with the development files.
install(FILES ${PROJECT_SOURCE_DIR}/docs/integration.md ${PROJECT_SOURCE_DIR}/docs/platform.md
              ${PROJECT_SOURCE_DIR}/docs/porting.md ${PROJECT_SOURCE_DIR}/docs/resources.md
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/liboqdevsdk-door-lock-dev COMPONENT dev)

# Every package carries the licence where Debian expects it.
foreach(_pair runtime:${_runtime_pkg} dev:liboqdevsdk-door-lock-dev tools:oqdevsdk-door-lock-tools)
    string(REPLACE ":" ";" _pair "${_pair}")
    list(GET _pair 0 _component)
    list(GET _pair 1 _package)
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${_package}
            RENAME copyright COMPONENT ${_component})
    install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${_package} COMPONENT ${_component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME oqdevsdk-door-lock)
set(CPACK_PACKAGE_VENDOR "oqDevSDK")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Door-lock domain module of the device SDK")
set(CPACK_PACKAGE_CONTACT "oqDevSDK door-lock maintainers <door-lock@oqdevsdk.invalid>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES TRUE)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${DOORLOCK_DEB_ARCH})
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

# Dependencies named by hand: dpkg-shlibdeps cannot inspect a cross build's
# libraries. The emulated host SDK brings in pugixml.
set(_runtime_depends "libc6, libstdc++6, libgcc-s1, libcjson1")
if(TARGET oqdev_host_sdk AND NOT DOORLOCK_HOST_SDK_DIR)
    string(APPEND _runtime_depends ", libpugixml1v5")
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${_runtime_pkg})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS ${_runtime_depends})
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "Door-lock domain module of the device SDK\n\
The module a device application loads to connect a smart door lock to the\n\
platform through the host SDK.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME liboqdevsdk-door-lock-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libcjson-dev")
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "Door-lock domain module of the device SDK: development files\n\
Public headers, CMake package, pkg-config file and the sources of the\n\
reference device application.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME oqdevsdk-door-lock-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS ${_runtime_depends})
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "Door-lock domain module of the device SDK: simulator\n\
doorlock-sim plays scripted scenarios against the module with a simulated\n\
lock; doorlock-qualify checks a device application against the callbacks'\n\
contract.")

include(CPack)
