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

# The loader and the C/C++ runtime (with libubsan) come from the cross
# prefix; the :armhf libraries are found through qemu's fallback to the host
# paths. The guest's LD_LIBRARY_PATH keeps the loader from picking the
# multiarch libc (/lib/arm-linux-gnueabihf, through the host's ld.so.cache),
# a different glibc build than the prefix's loader: mixing the two crashes as
# soon as a thread starts.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;/usr/arm-linux-gnueabihf;-E;LD_LIBRARY_PATH=/lib)
