# Builds for 32-bit ARM with hardware floating point, and runs what is built under emulation. scripts/setup-armhf
# prepares a machine for it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_C_FLAGS_INIT "-march=armv7-a+fp -mfloat-abi=hard -mthumb")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

if(NOT "$ENV{DEVICEID_ARMHF_ROOT}" STREQUAL "")
    set(CMAKE_SYSROOT "$ENV{DEVICEID_ARMHF_ROOT}")
elseif(NOT "$ENV{XDG_CACHE_HOME}" STREQUAL "")
    set(CMAKE_SYSROOT "$ENV{XDG_CACHE_HOME}/tolvekcppdeviceid/armhf-root")
else()
    set(CMAKE_SYSROOT "$ENV{HOME}/.cache/tolvekcppdeviceid/armhf-root")
endif()
set(CMAKE_FIND_ROOT_PATH "${CMAKE_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_DIR} "")
set(ENV{PKG_CONFIG_LIBDIR}
    "${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")

# By way of the loader: told of the folder itself, the emulator would show programs its top as the root of all files.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static "${CMAKE_SYSROOT}/lib/ld-linux-armhf.so.3" --library-path
    "${CMAKE_SYSROOT}/lib/${CMAKE_LIBRARY_ARCHITECTURE}:${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}")
