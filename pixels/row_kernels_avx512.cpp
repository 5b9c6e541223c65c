// The row kernels built for AVX512.
// (Empty on other processors: a universal macOS build compiles every file for each.)
#if defined(__i386__) || defined(__x86_64__)
// GCC 12's own 512-bit intrinsics trip its uninitialised-value warnings (their "undefined"
// vectors); nothing of this file's is concerned.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>

#include "pixels/row_kernels.h"

#pragma GCC push_options
#pragma GCC target("avx512f,avx512bw,avx512vbmi")
#define PIXELBRIDGE_VECTOR_BYTES 64
#include "pixels/row_kernels-inl.h"
#pragma GCC pop_options

extern const RowKernelSet kRowKernelsAVX512 = PIXELBRIDGE_ROW_KERNEL_SET;
#endif
