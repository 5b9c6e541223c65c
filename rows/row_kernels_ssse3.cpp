// The row kernels built for SSSE3: ordinary and streaming stores.
// (Empty on other processors: a universal macOS build compiles every file for each.)
#include "platform/architecture.h"

#if PIXELBRIDGE_X86
#define PIXELBRIDGE_TARGET "ssse3"
#define PIXELBRIDGE_VECTOR_BYTES 16
#include "rows/x86_kernels-inl.h"

extern const RowKernelSet kRowKernelsSSSE3 = kLevelKernels;
#endif
