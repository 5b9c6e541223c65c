# 32-bit ARMv7-A hard-float Linux with Debian's armhf cross compilers (baseline: VFPv3-D16,
# no NEON; the NEON kernels are compiled for it on their own); programs run under user-mode
# emulation with the cross sysroot as their root for the loader and libraries.
set(PIXELBRIDGE_TRIPLE arm-linux-gnueabihf)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/${PIXELBRIDGE_TRIPLE})
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
