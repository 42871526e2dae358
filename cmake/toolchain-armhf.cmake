# 32-bit ARM hard-float, built with Debian's cross compiler against the
# :armhf multiarch packages, run through qemu-arm.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

# Libraries and package configs only from the armhf multiarch directories
# (/usr/lib/arm-linux-gnueabihf, found under / through the library
# architecture); headers are shared with the host in /usr/include; build
# programs come from the host.
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf /)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The cross runtime (libstdc++, libubsan, the loader) lives in the prefix; the
# :armhf libraries are found through qemu's fallback to the host paths.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;/usr/arm-linux-gnueabihf)
