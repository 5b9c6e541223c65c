# The native build with clang and clang++ in place of GCC (the same warnings as errors).
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
