// The row kernels built for AVX2.
#include <immintrin.h>

#include "pixels/row_kernels.h"

#pragma GCC push_options
#pragma GCC target("avx2")
#define PIXELBRIDGE_VECTOR_BYTES 32
#include "pixels/row_kernels-inl.h"
#pragma GCC pop_options

extern const RowKernelSet kRowKernelsAVX2 = PIXELBRIDGE_ROW_KERNEL_SET;
