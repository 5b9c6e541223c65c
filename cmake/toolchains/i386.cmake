# 32-bit Intel Linux with Debian's i686 cross compilers; programs run under user-mode
# emulation on the i386 runtime (libc6-i386, lib32stdc++6). qemu-i386 is not given the cross
# sysroot: with -L it hangs at the first fork, without it the same programs run fine.
set(PIXELBRIDGE_TRIPLE i686-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-i386)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
