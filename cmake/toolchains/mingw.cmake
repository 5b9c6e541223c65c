# What the Windows toolchain files share: Debian's mingw-w64 cross compilers for
# PIXELBRIDGE_TRIPLE (POSIX threads), and libgcc, libstdc++ and winpthread linked in
# statically, so that the plug-in and the programs import system DLLs only.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${PIXELBRIDGE_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${PIXELBRIDGE_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${PIXELBRIDGE_TRIPLE}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${PIXELBRIDGE_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_C_FLAGS_RELWITHDEBINFO_INIT "-O2 -g1 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO_INIT "-O2 -g1 -DNDEBUG")
