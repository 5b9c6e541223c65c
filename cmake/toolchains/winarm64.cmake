# 64-bit ARM Windows (LLP64, signed char) with zig 0.11 from the pinned package
# (cmake/zig_package.cmake): its clang 16 and lld 16, the mingw-w64 runtime on msvcrt.dll and
# the C++ runtime (libc++, libc++abi, libunwind) that zig builds for the target on first use,
# kept in the tree's zig-cache/. Debian's llvm tools make the archives, the VERSIONINFO
# resource (with the package's mingw-w64 headers) and strip. Built and checked, not run.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

# Read again for every check CMake compiles: the package is fetched once, by the tree's own
# configure, and handed to the checks.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PIXELBRIDGE_ZIG PIXELBRIDGE_ZIG_TOOLS)
if(NOT PIXELBRIDGE_ZIG)
  include(${CMAKE_CURRENT_LIST_DIR}/../zig_package.cmake)
  pixelbridge_zig_package(${CMAKE_BINARY_DIR}/zig-package PIXELBRIDGE_ZIG)
  # The compilers CMake runs: zig's driver for the target, through zig_driver.sh.
  set(PIXELBRIDGE_ZIG_TOOLS ${CMAKE_BINARY_DIR}/zig-tools)
  foreach(language cc c++)
    file(WRITE ${PIXELBRIDGE_ZIG_TOOLS}/zig-${language} "#!/bin/sh\nexec sh ${CMAKE_CURRENT_LIST_DIR}/zig_driver.sh \
${PIXELBRIDGE_ZIG}/zig ${CMAKE_BINARY_DIR}/zig-cache ${language} \"$@\"\n")
    file(CHMOD ${PIXELBRIDGE_ZIG_TOOLS}/zig-${language} FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
  endforeach()
endif()
set(CMAKE_C_COMPILER ${PIXELBRIDGE_ZIG_TOOLS}/zig-cc)
set(CMAKE_CXX_COMPILER ${PIXELBRIDGE_ZIG_TOOLS}/zig-c++)
set(CMAKE_RC_COMPILER llvm-windres-14)
set(CMAKE_RC_FLAGS_INIT "--target=aarch64-w64-mingw32 -I${PIXELBRIDGE_ZIG}/lib/libc/include/any-windows-any")
set(CMAKE_AR llvm-ar CACHE FILEPATH "")
set(CMAKE_RANLIB llvm-ranlib CACHE FILEPATH "")
set(CMAKE_STRIP llvm-strip CACHE FILEPATH "")
set(CMAKE_OBJDUMP llvm-objdump CACHE FILEPATH "")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The images link stripped (-s), the C++ runtime with them: zig would write the debug
# information into a PDB beside the DLL, which nothing here reads, and name it in a debug
# directory entry whose build id lld draws at random, so that no two links gave the same bytes.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-s")
endforeach()
# The zig package's unwinder sources, for the plug-in's own build of them (CMakeLists.txt).
set(PIXELBRIDGE_UNWINDER_SOURCES ${PIXELBRIDGE_ZIG}/lib/libunwind)
