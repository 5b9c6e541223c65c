# The C++ runtime's unwinder (LLVM's libunwind) for the Windows on ARM64 plug-ins and programs.
# zig links the one it builds itself with every function marked for export (its build leaves
# out _LIBUNWIND_HIDE_SYMBOLS, the macro a static unwinder is built with), so a DLL linked with
# it exports 25 of them beside REALPluginMain. Built here from the same package's sources with
# that macro, and linked as objects, it defines every symbol the link asks of an unwinder:
# zig's copy, later on the linker's command line, then gives the link nothing.
enable_language(ASM)
set(unwinder ${PIXELBRIDGE_UNWINDER_SOURCES})
add_library(pixelbridge_unwinder OBJECT
  ${unwinder}/src/libunwind.cpp
  ${unwinder}/src/Unwind-seh.cpp
  ${unwinder}/src/UnwindLevel1-gcc-ext.c
  ${unwinder}/src/UnwindLevel1.c
  ${unwinder}/src/UnwindRegistersRestore.S
  ${unwinder}/src/UnwindRegistersSave.S
)
target_include_directories(pixelbridge_unwinder PRIVATE ${unwinder}/include)
target_compile_definitions(pixelbridge_unwinder PRIVATE _LIBUNWIND_HIDE_SYMBOLS _LIBUNWIND_IS_NATIVE_ONLY)
# Its own code, not the project's: its warnings are its authors' to see.
target_compile_options(pixelbridge_unwinder PRIVATE -w $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>)
