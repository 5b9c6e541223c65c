// The row kernels built for AVX2.
// (Empty on other processors: a universal macOS build compiles every file for each.)
#if defined(__i386__) || defined(__x86_64__)
#include <immintrin.h>

#include "pixels/row_kernels.h"

#pragma GCC push_options
#pragma GCC target("avx2")
#define PIXELBRIDGE_VECTOR_BYTES 32
#include "pixels/row_kernels-inl.h"
#pragma GCC pop_options

extern const RowKernelSet kRowKernelsAVX2 = PIXELBRIDGE_ROW_KERNEL_SET;
#endif
