# 32-bit Windows with Debian's i686 mingw-w64; programs run under wine64 in its WoW64 mode
# (32-bit code in a 64-bit Wine process), with the prefix in the build tree and the i386
# Windows builtins that the tree fetches into it (cmake/wow64_dlls.sh, before anything runs).
set(PIXELBRIDGE_TRIPLE i686-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
# WoW64 needs a machine that runs 32-bit x86 code at all, which some virtual machines' and
# some kernels' don't (IA-32 emulation off): the i386 dynamic loader starts there or not.
# Elsewhere the builtins would serve nothing, so they aren't fetched (95 MB, 0.55 GB unpacked).
if(NOT EXISTS /lib/ld-linux.so.2)
  message(FATAL_ERROR "/lib/ld-linux.so.2 not found: install libc6-i386")
endif()
execute_process(COMMAND /lib/ld-linux.so.2 --version RESULT_VARIABLE runs_32bit_code OUTPUT_QUIET ERROR_QUIET)
if(runs_32bit_code EQUAL 0)
  set(PIXELBRIDGE_WOW64_DLLS ${CMAKE_BINARY_DIR}/wow64)
  set(CMAKE_CROSSCOMPILING_EMULATOR env WINEPREFIX=${CMAKE_BINARY_DIR}/wine WINEDEBUG=-all
                                    WINEDLLPATH=${PIXELBRIDGE_WOW64_DLLS}/dlls /usr/lib/wine/wine64)
else()
  set(PIXELBRIDGE_PROGRAMS_NOT_RUN "this machine runs no 32-bit x86 code (its kernel's IA-32 \
emulation is off), which wine64 needs to run 32-bit programs: the tree's programs are built and \
checked, not run, and wine64's i386 builtins aren't fetched")
endif()
