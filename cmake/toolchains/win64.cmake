# 64-bit Windows with Debian's x86_64 mingw-w64; programs run under Wine, whose prefix lives
# in the build tree (its first start makes it) and which keeps its debug output to itself.
set(PIXELBRIDGE_TRIPLE x86_64-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CROSSCOMPILING_EMULATOR env WINEPREFIX=${CMAKE_BINARY_DIR}/wine WINEDEBUG=-all /usr/lib/wine/wine64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
