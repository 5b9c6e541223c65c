// The kernel table: per processor family and shape of map, the widest level to run, whether
// calls larger than the last-level cache store around it, and whether the widest kernels
// align their stores. The figures behind each entry stand beside it.
#include "pixels/kernel_choice.h"

namespace {

// An entry's `aligns` is a switch for measuring: true peels each row's head until the
// destination is aligned to the vector, where the shape's level has such kernels (AVX-512).
constexpr bool kStream = true, kNoStream = false, kNoAlign = false;
constexpr SimdLevel kWidest = SimdLevel::kWidest;

// Where nothing was measured against the widest kernels. Kernels that keep destination bytes
// read every line they store, so streaming saves them no read: the pad-keeping copies came
// out at 1.08 to 1.21 × memcpy on 4096 × 2160 streamed, against 0.86 to 1.08 stored the
// ordinary way (Zen 3, AVX2). Gray through tables or words and the plain row have no
// streaming kernels.
constexpr FamilyChoices kAnyOther = {"any other processor",
                                     {{
                                         {kWidest, kStream, kNoAlign},    // four to four
                                         {kWidest, kStream, kNoAlign},    // alpha from a mask
                                         {kWidest, kNoStream, kNoAlign},  // four to four, kept bytes
                                         {kWidest, kStream, kNoAlign},    // four to three
                                         {kWidest, kNoStream, kNoAlign},  // four to three, kept bytes
                                         {kWidest, kStream, kNoAlign},    // a channel
                                         {kWidest, kStream, kNoAlign},    // three to four
                                         {kWidest, kStream, kNoAlign},    // gray
                                         {kWidest, kNoStream, kNoAlign},  // gray through tables
                                         {kWidest, kNoStream, kNoAlign},  // gray through words
                                         {kWidest, kNoStream, kNoAlign},  // plain
                                     }}};

#if defined(__i386__) || defined(__x86_64__)
constexpr SimdLevel kAVX2 = SimdLevel::kAVX2, kAVX512 = SimdLevel::kAVX512;

// Intel: the widest kernels for every shape. Measured on a Xeon of family 6 model 167 with
// AVX-512 the same way as below (6 pairs): at 1920 × 1080 AVX-512 and AVX2 are within the
// noise (0.97 to 1.03) but for the gray tint and tables, where AVX2 takes 1.08 to 1.11 × the
// time; at 320 × 240, in the caches, AVX2 takes 1.05 to 1.10 × for masks, kept pad bytes and
// channels and 1.29 to 1.31 × for the gray tint and tables. Aligned AVX-512 stores change
// nothing there (0.98 to 1.02 at destination offsets 0 and 4 modulo 64): they stay off.
constexpr FamilyChoices kIntel = {"Intel", kAnyOther.table};

// AMD family 25 (Zen 3; Zen 4, with AVX-512 run as two 256-bit halves, where a 64-byte store
// to an address that isn't a multiple of 64 writes two cache lines every time). Measured on an
// EPYC of family 25 model 17 (Zen 4) with `pixelbench --size 1920x1080 --rounds 9`, the
// chosen level and `--simd 2` alternating, 8 pairs on a quiet machine: the AVX-512 median
// over the AVX2 one, and in how many pairs AVX-512 was the slower (AVX2 against itself gives
// 0.94 to 1.06: that is the noise). AVX-512 runs only where it wins; Zen 3 has no AVX-512
// and runs AVX2 throughout. Streaming as on any other processor (measured on Zen 3).
// Aligned AVX-512 stores, measured on the same processor (8 triples of AVX2, AVX-512 and
// AVX-512 aligned at 1920 × 1080): four-byte copies go from 1.03 to 1.10 × the AVX2 time to
// 1.00 to 1.04, mask copies to 0.97 to 1.06, and the other shapes stay where they were (kept
// bytes 1.05 to 1.07, BGR and RGB 1.04, channels 1.06 to 1.08, three to four 1.07 to 1.11);
// at 320 × 240 every shape but the table lookups is within the noise either way. Aligning
// makes AVX-512 win nowhere, so it stays off.
constexpr FamilyChoices kAMDFamily25 = {
    "AMD family 25 (Zen 3, Zen 4)",
    {{
        {kAVX2, kStream, kNoAlign},      // ARGB copies, dest conversions: 0.95 to 1.07, 3/8 to 6/8
        {kAVX2, kStream, kNoAlign},      // mask copies: 1.01 to 1.09, slower in 4/8 to 6/8
        {kAVX2, kNoStream, kNoAlign},    // XRGB, RGBX: 1.06, 1.16, slower in 7/8, 6/8
        {kAVX2, kStream, kNoAlign},      // BGR, RGB: 1.09, 1.11, slower in 8/8, 7/8
        {kAVX2, kNoStream, kNoAlign},    // channels three bytes apart: the packing and keeping loops
        {kAVX2, kStream, kNoAlign},      // R, G, B: 1.11, 1.08, 1.09, slower in 7/8 each
        {kAVX2, kStream, kNoAlign},      // BGR, RGB dest conversions: within 0.95 to 1.07
        {kAVX2, kStream, kNoAlign},      // Ptr gray: 1.33, slower in 6/8
        {kAVX512, kNoStream, kNoAlign},  // gray tint and tables: 0.48 to 0.61, slower in 0/8 to 2/8
        {kWidest, kNoStream, kNoAlign},  // gray through words: no vector code
        {kWidest, kNoStream, kNoAlign},  // plain
    }}};
#endif

}  // namespace

const FamilyChoices& ChoicesFor(const Processor& processor) {
#if defined(__i386__) || defined(__x86_64__)
  if (processor.vendor == Vendor::kAMD && processor.family == 25) return kAMDFamily25;
  if (processor.vendor == Vendor::kIntel) return kIntel;
#else
  (void)processor;
#endif
  return kAnyOther;
}

KernelTable KernelTableFor(const FamilyChoices& choices, SimdLevel level, bool held) {
  KernelTable table = choices.table;
  for (ShapeChoice& shape : table.shapes)
    if (held || static_cast<int>(level) < static_cast<int>(shape.level)) shape.level = level;
  return table;
}

KernelTable ActiveKernelTable() {
  static const FamilyChoices& choices = ChoicesFor(ThisProcessor());
  return KernelTableFor(choices, ActiveSimdLevel(), HeldSimdLevel() >= 0);
}
