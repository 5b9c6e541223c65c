# What the cross toolchain files share: Debian's cross compilers for PIXELBRIDGE_TRIPLE, and
# their sysroot for headers and libraries (programs are the build machine's own).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${PIXELBRIDGE_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${PIXELBRIDGE_TRIPLE}-g++)
set(CMAKE_FIND_ROOT_PATH /usr/${PIXELBRIDGE_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
