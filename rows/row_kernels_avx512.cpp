// The row kernels built for AVX-512 (BW and VBMI): ordinary stores only. None store around
// the caches: calls that do run the AVX2 kernels, which can.
// (Empty on other processors: a universal macOS build compiles every file for each.)
#include "platform/architecture.h"

#if PIXELBRIDGE_X86
#if defined(__GNUC__) && !defined(__clang__)
// GCC 12's own 512-bit intrinsics trip its uninitialised-value warnings (their "undefined"
// vectors); nothing of this file's is concerned.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
// PREFETCHW too, which every processor with these has.
#define PIXELBRIDGE_TARGET "avx512f,avx512bw,avx512vbmi,prfchw"
#define PIXELBRIDGE_VECTOR_BYTES 64
#include "rows/x86_kernels-inl.h"

extern const RowKernelSet kRowKernelsAVX512 = kLevelKernels;
#endif
