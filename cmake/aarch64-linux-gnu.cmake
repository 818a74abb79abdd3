# 64-bit ARM, Debian's arm64.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(architecture arm64)
set(triple aarch64-linux-gnu)
include("${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake")
