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
# The emulated trees keep line tables only: full debug information costs a third of their
# build time, and their failures are read from the tests' output and backtraces.
set(CMAKE_C_FLAGS_RELWITHDEBINFO_INIT "-O2 -g1 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO_INIT "-O2 -g1 -DNDEBUG")
