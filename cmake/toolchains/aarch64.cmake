# 64-bit ARM Linux with Debian's aarch64 cross compilers; programs run under user-mode
# emulation with the cross sysroot as their root for the loader and libraries.
set(PIXELBRIDGE_TRIPLE aarch64-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/${PIXELBRIDGE_TRIPLE})
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
