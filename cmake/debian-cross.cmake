# What the toolchain files share. The compiler and the libraries it links come from Debian:
# scripts/install puts the libraries into build/sysroot, where an emulator finds them as well.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triple}-gcc)
set(CMAKE_CXX_COMPILER ${triple}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triple})

get_filename_component(CMAKE_SYSROOT
                       "${CMAKE_CURRENT_LIST_DIR}/../build/sysroot/${architecture}" ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${CMAKE_SYSROOT}/usr/lib/${triple}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

# The emulator does not see every directory of the sysroot, and the system follows no link into it.
set(CMAKE_CROSSCOMPILING_EMULATOR "qemu-${CMAKE_SYSTEM_PROCESSOR}" -L "${CMAKE_SYSROOT}"
    -E "LD_LIBRARY_PATH=${CMAKE_SYSROOT}/usr/lib/${triple}/android")
