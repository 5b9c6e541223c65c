# macOS: one universal file for Apple silicon and Intel Macs (arm64 and x86_64, macOS 11 and
# later), cross-built with Debian's clang, its Mach-O linker ld64.lld and llvm-lipo against
# the SDK folder that cmake/macos_sdk.cmake assembles in the build tree. Nothing here runs a
# Mach-O program: the plug-in is built and checked, the rest compiled.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 20)  # Darwin 20: macOS 11
set(CMAKE_OSX_ARCHITECTURES "arm64;x86_64" CACHE STRING "The Mac processors the plug-in serves")
set(CMAKE_OSX_DEPLOYMENT_TARGET 11.0 CACHE STRING "The oldest macOS the plug-in serves")
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-apple-macos11)
set(CMAKE_CXX_COMPILER_TARGET x86_64-apple-macos11)

# Read again for every check CMake compiles: the SDK and the tools are set up once, by the
# tree's own configure, and handed to the checks.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PIXELBRIDGE_MACOS_SDK PIXELBRIDGE_MACOS_TOOLS)
if(NOT PIXELBRIDGE_MACOS_SDK)
  set(PIXELBRIDGE_MACOS_SDK ${CMAKE_BINARY_DIR}/macos-sdk)
  include(${CMAKE_CURRENT_LIST_DIR}/../macos_sdk.cmake)
  pixelbridge_macos_sdk(${PIXELBRIDGE_MACOS_SDK})
  # The driver runs `lipo` to join the slices and, with -fuse-ld=lld, `ld64.lld`: Debian keeps
  # them, the first as llvm-lipo, in LLVM's own folder alone.
  set(PIXELBRIDGE_MACOS_TOOLS ${CMAKE_BINARY_DIR}/macos-tools)
  execute_process(COMMAND llvm-config --bindir OUTPUT_VARIABLE llvm_bin OUTPUT_STRIP_TRAILING_WHITESPACE)
  find_program(PIXELBRIDGE_LIPO NAMES llvm-lipo lipo HINTS ${llvm_bin} REQUIRED)
  find_program(PIXELBRIDGE_LD64 NAMES ld64.lld HINTS ${llvm_bin} REQUIRED)
  file(MAKE_DIRECTORY ${PIXELBRIDGE_MACOS_TOOLS})
  file(CREATE_LINK ${PIXELBRIDGE_LIPO} ${PIXELBRIDGE_MACOS_TOOLS}/lipo SYMBOLIC)
  file(CREATE_LINK ${PIXELBRIDGE_LD64} ${PIXELBRIDGE_MACOS_TOOLS}/ld64.lld SYMBOLIC)
endif()
set(CMAKE_OSX_SYSROOT ${PIXELBRIDGE_MACOS_SDK})
set(CMAKE_FIND_ROOT_PATH ${PIXELBRIDGE_MACOS_SDK})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# libc++ as Apple's SDK configures it (the zig headers leave that to the compiler's flags).
set(CMAKE_C_FLAGS_INIT "-B${PIXELBRIDGE_MACOS_TOOLS}")
set(CMAKE_CXX_FLAGS_INIT "-B${PIXELBRIDGE_MACOS_TOOLS} -stdlib=libc++ -D_LIBCPP_ABI_VERSION=1 -D_LIBCPP_ABI_NAMESPACE=__1")
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld")
endforeach()
set(CMAKE_AR llvm-ar CACHE FILEPATH "")
set(CMAKE_RANLIB llvm-ranlib CACHE FILEPATH "")
# Only the plug-in links, against the stubs; programs and CMake's own checks compile without
# linking.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(PIXELBRIDGE_LINK_PROGRAMS OFF CACHE BOOL "Link the reference host's programs and the tests")
