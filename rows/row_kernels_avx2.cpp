// The row kernels built for AVX2: ordinary and streaming stores.
// (Empty on other processors: a universal macOS build compiles every file for each.)
#include "platform/architecture.h"

#if PIXELBRIDGE_X86
#define PIXELBRIDGE_TARGET "avx2"
#define PIXELBRIDGE_VECTOR_BYTES 32
#include "rows/x86_kernels-inl.h"

extern const RowKernelSet kRowKernelsAVX2 = kLevelKernels;
#endif
