# 32-bit Windows with Debian's i686 mingw-w64: built and checked, not run (no 32-bit Wine
# here).
set(PIXELBRIDGE_TRIPLE i686-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
