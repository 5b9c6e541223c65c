// The row kernels built for NEON, one source for 64- and 32-bit ARM: byte table lookups
// reorder and pack pixels 16 bytes at a time, interleaving loads and stores split and join
// channels. 32-bit builds compile this file alone for NEON (the rest keeps the baseline),
// so it includes nothing whose inline functions another file could share.
// (Empty on other processors: a universal macOS build compiles every file for each.)
#include "platform/architecture.h"

#if PIXELBRIDGE_ARM
#include <arm_neon.h>

#include "rows/row_kernels.h"

namespace {

// Bytes of `table` picked by `index`; an index past the table's end gives 0 (32-bit ARM
// looks up eight bytes at a time).
inline uint8x16_t Lookup(uint8x16_t table, uint8x16_t index) {
#if defined(__aarch64__)
  return vqtbl1q_u8(table, index);
#else
  const uint8x8x2_t halves = {{vget_low_u8(table), vget_high_u8(table)}};
  return vcombine_u8(vtbl2_u8(halves, vget_low_u8(index)), vtbl2_u8(halves, vget_high_u8(index)));
#endif
}

// The same from the 32 bytes of two vectors.
inline uint8x16_t Lookup(uint8x16_t first, uint8x16_t second, uint8x16_t index) {
#if defined(__aarch64__)
  const uint8x16x2_t pair = {{first, second}};
  return vqtbl2q_u8(pair, index);
#else
  const uint8x8x4_t quarters = {{vget_low_u8(first), vget_high_u8(first), vget_low_u8(second), vget_high_u8(second)}};
  return vcombine_u8(vtbl4_u8(quarters, vget_low_u8(index)), vtbl4_u8(quarters, vget_high_u8(index)));
#endif
}

// Four pixels a lookup, sixteen a step, then four at a time.
void FourToFour(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const uint8x16_t shuffle = vld1q_u8(p.shuffle), fill = vld1q_u8(p.fill);
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16) {
    uint8x16_t out[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) out[k] = vorrq_u8(Lookup(vld1q_u8(src + 4 * x + 16 * k), shuffle), fill);
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) vst1q_u8(dst + 4 * x + 16 * k, out[k]);
  }
  for (; x + 4 <= pixels; x += 4) vst1q_u8(dst + 4 * x, vorrq_u8(Lookup(vld1q_u8(src + 4 * x), shuffle), fill));
  MapPixels(src + 4 * x, nullptr, dst + 4 * x, pixels - x, p.map);
}

// The same, with the kept bytes selected from the destination (they take nothing else).
void FourToFourKeeping(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const uint8x16_t shuffle = vld1q_u8(p.shuffle), fill = vld1q_u8(p.fill), keep = vld1q_u8(p.keep);
  int32_t x = 0;
  for (; x + 4 <= pixels; x += 4) {
    const uint8x16_t made = vorrq_u8(Lookup(vld1q_u8(src + 4 * x), shuffle), fill);
    vst1q_u8(dst + 4 * x, vbslq_u8(keep, vld1q_u8(dst + 4 * x), made));
  }
  MapPixels(src + 4 * x, nullptr, dst + 4 * x, pixels - x, p.map);
}

// The alpha byte is the mask pixel's green looked up into place and inverted (255 − green).
void FourToFourMasked(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const uint8x16_t shuffle = vld1q_u8(p.shuffle), fill = vld1q_u8(p.fill);
  const uint8x16_t maskShuffle = vld1q_u8(p.maskShuffle), maskFlip = vld1q_u8(p.maskFlip);
  int32_t x = 0;
  for (; x + 4 <= pixels; x += 4) {
    const uint8x16_t alpha = veorq_u8(Lookup(vld1q_u8(mask + 4 * x), maskShuffle), maskFlip);
    vst1q_u8(dst + 4 * x, vorrq_u8(vorrq_u8(Lookup(vld1q_u8(src + 4 * x), shuffle), fill), alpha));
  }
  MapPixels(src + 4 * x, mask + 4 * x, dst + 4 * x, pixels - x, p.map);
}

// Sixteen pixels a step, packing (4 → 3) or unpacking (3 → 4): each output vector is one
// lookup in the pair of input vectors it spans. Its indexes are the wide patterns' less
// the pair's start; a byte that takes nothing (kZeroIndex, less at most 32) stays past the pair.
template <int kIn, int kOut, bool kKeeping>
void PairRow(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  uint8x16_t index[kOut], fill[kOut], keep[kOut];
#pragma GCC unroll 4
  for (int v = 0; v < kOut; ++v) {
    index[v] = vsubq_u8(vld1q_u8(p.wide + 16 * v), vdupq_n_u8(static_cast<uint8_t>(16 * PairFirst<16>(v, kIn, kOut))));
    fill[v] = vld1q_u8(p.wideFill + 16 * v);
    keep[v] = vld1q_u8(p.wideKeep + 16 * v);
  }
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16) {
    const uint8_t* s = src + kIn * x;
    uint8_t* d = dst + kOut * x;
    uint8x16_t in[kIn + 1];
#pragma GCC unroll 4
    for (int k = 0; k < kIn; ++k) in[k] = vld1q_u8(s + 16 * k);
    in[kIn] = in[kIn - 1];  // the last output vector's pair, whose second half it doesn't read
#pragma GCC unroll 4
    for (int v = 0; v < kOut; ++v) {
      const int first = PairFirst<16>(v, kIn, kOut);
      uint8x16_t out = vorrq_u8(Lookup(in[first], in[first + 1], index[v]), fill[v]);
      if (kKeeping) out = vbslq_u8(keep[v], vld1q_u8(d + 16 * v), out);
      vst1q_u8(d + 16 * v, out);
    }
  }
  MapPixels(src + kIn * x, nullptr, dst + kOut * x, pixels - x, p.map);
}

// Sixteen pixels a step: a de-interleaving load splits them into their four bytes, and
// byte kByte's sixteen are stored.
template <int kByte>
int32_t ChannelSteps(const uint8_t* src, uint8_t* dst, int32_t pixels, uint8x16_t fill) {
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16) vst1q_u8(dst + x, vorrq_u8(vld4q_u8(src + 4 * x).val[kByte], fill));
  return x;
}

void FourToOne(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const uint8x16_t fill = vdupq_n_u8(p.map.fill[0]);
  int32_t x = 0;
  switch (p.map.from[0]) {
    case 0:
      x = ChannelSteps<0>(src, dst, pixels, fill);
      break;
    case 1:
      x = ChannelSteps<1>(src, dst, pixels, fill);
      break;
    case 2:
      x = ChannelSteps<2>(src, dst, pixels, fill);
      break;
    case 3:
      x = ChannelSteps<3>(src, dst, pixels, fill);
      break;
    default:
      break;  // a byte that takes no channel: the scalar form
  }
  MapPixels(src + 4 * x, nullptr, dst + x, pixels - x, p.map);
}

// Sixteen samples a step: each of the four byte planes is the samples or the filler, and
// an interleaving store puts them together.
void OneToFour(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  uint8x16_t taken[4], fill[4];
#pragma GCC unroll 4
  for (int k = 0; k < 4; ++k) {
    taken[k] = vdupq_n_u8(p.map.from[k] == 0 ? 0xFF : 0);
    fill[k] = vdupq_n_u8(p.map.fill[k]);
  }
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16) {
    const uint8x16_t samples = vld1q_u8(src + x);
    uint8x16x4_t out;
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) out.val[k] = vorrq_u8(vandq_u8(samples, taken[k]), fill[k]);
    vst4q_u8(dst + 4 * x, out);
  }
  MapPixels(src + x, nullptr, dst + 4 * x, pixels - x, p.map);
}

#if defined(__aarch64__)
// Sixteen samples a step. A table's 256 bytes are four quarters of 64, each one four-vector
// lookup: the first gives 0 past its quarter, the other three fill in only the samples in
// theirs (the samples less 64, 128 and 192). An interleaving store joins the four planes.
void OneToFourTables(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const uint8_t* tables[4];  // held here: the rows written could alias the patterns
  uint8x16_t fill[4];
#pragma GCC unroll 4
  for (int k = 0; k < 4; ++k) tables[k] = p.map.table[k], fill[k] = vdupq_n_u8(p.map.fill[k]);
  const uint8x16_t quarter = vdupq_n_u8(64);
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16) {
    uint8x16_t samples[4];
    samples[0] = vld1q_u8(src + x);
#pragma GCC unroll 3
    for (int q = 1; q < 4; ++q) samples[q] = vsubq_u8(samples[q - 1], quarter);
    uint8x16x4_t out;
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      out.val[k] = fill[k];
      if (tables[k] == nullptr) continue;
      uint8x16_t bytes = vqtbl4q_u8(vld1q_u8_x4(tables[k]), samples[0]);
#pragma GCC unroll 3
      for (int q = 1; q < 4; ++q) bytes = vqtbx4q_u8(bytes, vld1q_u8_x4(tables[k] + 64 * q), samples[q]);
      out.val[k] = vorrq_u8(bytes, fill[k]);
    }
    vst4q_u8(dst + 4 * x, out);
  }
  MapPixels(src + x, nullptr, dst + 4 * x, pixels - x, p.map);
}
constexpr LevelKernel kTablesRow = OneToFourTables;
#else
// Lookups here read at most 32 bytes and give eight: sixteen samples would take 16 of them
// per table. One lookup per pixel in a table of words is as fast.
constexpr LevelKernel kTablesRow = kGrayWordsRow;
#endif

// The kernel for each shape; the shapes without vector code run the code every level shares.
constexpr LevelKernel KernelFor(Shape shape) {
  switch (shape) {
    case Shape::kFourToFour:
      return FourToFour;
    case Shape::kFourToFourMasked:
      return FourToFourMasked;
    case Shape::kFourToFourKeeping:
      return FourToFourKeeping;
    case Shape::kFourToThree:
      return PairRow<4, 3, false>;
    case Shape::kFourToThreeKeeping:
      return PairRow<4, 3, true>;
    case Shape::kFourToOne:
      return FourToOne;
    case Shape::kThreeToFour:
      return PairRow<3, 4, false>;
    case Shape::kOneToFour:
      return OneToFour;
    case Shape::kOneToFourTables:
      return kTablesRow;
    case Shape::kGrayWords:
      return kGrayWordsRow;
    case Shape::kPlain:
      return kPlainRow;
  }
  return {};
}
// Ordinary stores only: NEON has none around the caches.
constexpr RowKernelSet kLevelKernels = MakeRowKernelSet(KernelFor, NoKernel);

}  // namespace

extern const RowKernelSet kRowKernelsNEON = kLevelKernels;
#endif
