# SPDX-License-Identifier: Apache-2.0
# Toolchain for 32-bit Arm with hardware floating point: Debian's cross compiler, which brings the C and C++ headers.
# The other libraries, and all that programs are run with, are in the folder that scripts/armhf-sysroot fills.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH ORU_ARMHF_SYSROOT_DEFAULT)
set(ORU_ARMHF_SYSROOT ${ORU_ARMHF_SYSROOT_DEFAULT}/build/armhf-sysroot CACHE PATH "Debian's armhf libraries")
if(NOT EXISTS ${ORU_ARMHF_SYSROOT}/packages.txt)
    message(FATAL_ERROR "No libraries for Arm in ${ORU_ARMHF_SYSROOT}: run scripts/armhf-sysroot first")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORU_ARMHF_SYSROOT)

set(CMAKE_FIND_ROOT_PATH /usr/${CMAKE_LIBRARY_ARCHITECTURE} ${ORU_ARMHF_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Headers that differ between architectures (OpenSSL has some); the compiler knows this folder only below /usr.
set(CMAKE_C_STANDARD_INCLUDE_DIRECTORIES ${ORU_ARMHF_SYSROOT}/usr/include/${CMAKE_LIBRARY_ARCHITECTURE})
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${CMAKE_C_STANDARD_INCLUDE_DIRECTORIES})
set(ENV{PKG_CONFIG_LIBDIR}
    ${ORU_ARMHF_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${ORU_ARMHF_SYSROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${ORU_ARMHF_SYSROOT})

# The loader, the C library and libstdc++ have to be of one place: all of them come from the sysroot.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;${ORU_ARMHF_SYSROOT})
