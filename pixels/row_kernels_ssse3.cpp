// The row kernels built for SSSE3: ordinary and streaming stores.
// (Empty on other processors: a universal macOS build compiles every file for each.)
#if defined(__i386__) || defined(__x86_64__)
#define PIXELBRIDGE_TARGET "ssse3"
#define PIXELBRIDGE_VECTOR_BYTES 16
#include "pixels/row_kernels-inl.h"

// Without byte permutes across the vector, gray through tables takes one lookup per pixel in
// a table of pixel words.
extern const RowKernelSet kRowKernelsSSSE3 = {{
    PIXELBRIDGE_SHAPE_KERNELS(Stores::kOrdinary, GrayWordsRow, GrayWordsRow, PlainRow),
    {},
    PIXELBRIDGE_SHAPE_KERNELS(Stores::kStreaming, nullptr, nullptr, nullptr),
}};
#endif
