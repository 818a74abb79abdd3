# 32-bit ARM with hardware floating point, Debian's armhf.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(architecture armhf)
set(triple arm-linux-gnueabihf)
include("${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake")
add_compile_options(-Wno-psabi) # a note on compilers before GCC 7
