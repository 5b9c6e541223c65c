// The row kernels built for SSSE3.
// (Empty on other processors: a universal macOS build compiles every file for each.)
#if defined(__i386__) || defined(__x86_64__)
#include <immintrin.h>

#include "pixels/row_kernels.h"

#pragma GCC push_options
#pragma GCC target("ssse3")
#define PIXELBRIDGE_VECTOR_BYTES 16
#include "pixels/row_kernels-inl.h"
#pragma GCC pop_options

extern const RowKernelSet kRowKernelsSSSE3 = PIXELBRIDGE_ROW_KERNEL_SET;
#endif
