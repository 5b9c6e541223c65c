// The SIMD row kernels, written once. Each instruction set's translation unit includes this
// after choosing its target and PIXELBRIDGE_VECTOR_BYTES (16, 32 or 64); everything here is
// internal to that unit. Four-byte shapes shuffle within 16-byte lanes and so run at the full
// width; packing shapes cross lanes and run 16 bytes at a time, or as byte permutes of the
// whole vector where the level has them.
#include <immintrin.h>

#include "pixels/row_kernels.h"

namespace {

#if defined(__i386__)
// Hosts may call in with a stack aligned to 4 bytes only.
#define PIXELBRIDGE_ROW_ENTRY __attribute__((force_align_arg_pointer))
#else
#define PIXELBRIDGE_ROW_ENTRY
#endif

inline __m128i Load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void Store16(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

#if PIXELBRIDGE_VECTOR_BYTES == 16
using Vec = __m128i;
inline Vec Load(const uint8_t* p) { return Load16(p); }
inline void Store(uint8_t* p, Vec v) { Store16(p, v); }
inline Vec Pattern(const uint8_t* p) { return Load16(p); }
inline Vec Shuffle(Vec v, Vec m) { return _mm_shuffle_epi8(v, m); }
inline Vec Or(Vec a, Vec b) { return _mm_or_si128(a, b); }
inline Vec And(Vec a, Vec b) { return _mm_and_si128(a, b); }
inline Vec Xor(Vec a, Vec b) { return _mm_xor_si128(a, b); }
// Four-byte groups gathered lane by lane (group j of every lane from input vector j) put in
// pixel order: one lane is already in order.
inline Vec GroupsInOrder(Vec v) { return v; }
#elif PIXELBRIDGE_VECTOR_BYTES == 32
using Vec = __m256i;
inline Vec Load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void Store(uint8_t* p, Vec v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
inline Vec Pattern(const uint8_t* p) { return _mm256_broadcastsi128_si256(Load16(p)); }
inline Vec Shuffle(Vec v, Vec m) { return _mm256_shuffle_epi8(v, m); }
inline Vec Or(Vec a, Vec b) { return _mm256_or_si256(a, b); }
inline Vec And(Vec a, Vec b) { return _mm256_and_si256(a, b); }
inline Vec Xor(Vec a, Vec b) { return _mm256_xor_si256(a, b); }
inline Vec GroupsInOrder(Vec v) { return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)); }
#elif PIXELBRIDGE_VECTOR_BYTES == 64
using Vec = __m512i;
inline Vec Load(const uint8_t* p) { return _mm512_loadu_si512(p); }
inline void Store(uint8_t* p, Vec v) { _mm512_storeu_si512(p, v); }
inline Vec Pattern(const uint8_t* p) { return _mm512_broadcast_i32x4(Load16(p)); }
inline Vec Shuffle(Vec v, Vec m) { return _mm512_shuffle_epi8(v, m); }
inline Vec Or(Vec a, Vec b) { return _mm512_or_si512(a, b); }
inline Vec And(Vec a, Vec b) { return _mm512_and_si512(a, b); }
inline Vec Xor(Vec a, Vec b) { return _mm512_xor_si512(a, b); }
inline Vec GroupsInOrder(Vec v) {
  return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), v);
}
#endif

constexpr int32_t kPixelsPerVector = PIXELBRIDGE_VECTOR_BYTES / 4;

PIXELBRIDGE_ROW_ENTRY void FourToFour(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const Vec shuffle = Pattern(p.shuffle), fill = Pattern(p.fill);
  int32_t x = 0;
  for (; x + 2 * kPixelsPerVector <= pixels; x += 2 * kPixelsPerVector) {
    const Vec a = Load(src + 4 * x), b = Load(src + 4 * x + PIXELBRIDGE_VECTOR_BYTES);
    Store(dst + 4 * x, Or(Shuffle(a, shuffle), fill));
    Store(dst + 4 * x + PIXELBRIDGE_VECTOR_BYTES, Or(Shuffle(b, shuffle), fill));
  }
  for (; x + kPixelsPerVector <= pixels; x += kPixelsPerVector)
    Store(dst + 4 * x, Or(Shuffle(Load(src + 4 * x), shuffle), fill));
  MapPixels(src + 4 * x, dst + 4 * x, pixels - x, p.map);
}

PIXELBRIDGE_ROW_ENTRY void FourToFourKeeping(const uint8_t* src, uint8_t* dst, int32_t pixels,
                                             const RowPatterns& p) {
  const Vec shuffle = Pattern(p.shuffle), fill = Pattern(p.fill), keep = Pattern(p.keep);
  int32_t x = 0;
  for (; x + kPixelsPerVector <= pixels; x += kPixelsPerVector) {
    const Vec kept = And(Load(dst + 4 * x), keep);
    Store(dst + 4 * x, Or(Or(Shuffle(Load(src + 4 * x), shuffle), fill), kept));
  }
  MapPixels(src + 4 * x, dst + 4 * x, pixels - x, p.map);
}

PIXELBRIDGE_ROW_ENTRY void FourToFourMasked(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels,
                                            const RowPatterns& p) {
  const Vec shuffle = Pattern(p.shuffle), fill = Pattern(p.fill);
  const Vec maskShuffle = Pattern(p.maskShuffle), maskFlip = Pattern(p.maskFlip);
  int32_t x = 0;
  for (; x + kPixelsPerVector <= pixels; x += kPixelsPerVector) {
    const Vec alpha = Xor(Shuffle(Load(mask + 4 * x), maskShuffle), maskFlip);
    Store(dst + 4 * x, Or(Or(Shuffle(Load(src + 4 * x), shuffle), fill), alpha));
  }
  MapMaskedPixels(src + 4 * x, mask + 4 * x, dst + 4 * x, pixels - x, p.map);
}

#if PIXELBRIDGE_VECTOR_BYTES == 64
// Sixteen pixels a step as one byte permute of the whole vector. Whole steps load and store
// with plain 16- and 32-byte moves (masked moves are slow on some processors); the last,
// partial step masks its bytes so that nothing outside the row is touched.
constexpr __mmask64 Bytes(int count) { return count >= 64 ? ~__mmask64{0} : (__mmask64{1} << count) - 1; }

inline Vec LoadBytes(const uint8_t* p, int count) {
  switch (count) {
    case 64: return _mm512_loadu_si512(p);
    case 48: return _mm512_inserti32x4(_mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))), Load16(p + 32), 2);
    case 16: return _mm512_castsi128_si512(Load16(p));
    default: return _mm512_maskz_loadu_epi8(Bytes(count), p);
  }
}

inline void StoreBytes(uint8_t* p, Vec v, int count) {
  switch (count) {
    case 64: return _mm512_storeu_si512(p, v);
    case 48:
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_castsi512_si256(v));
      return Store16(p + 32, _mm512_extracti32x4_epi32(v, 2));
    default: return _mm512_mask_storeu_epi8(p, Bytes(count), v);
  }
}

// Sixty-four pixels a step: every output vector is one permute of the two input vectors
// it spans. Pixels of kIn bytes in, kOut bytes out.
template <int kIn, int kOut, bool kKeeping>
inline int32_t PermuteWhole(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  // Everything the loop needs sits in registers (the destination could alias the patterns),
  // and the loops over vectors are unrolled so that none of it is indexed in memory.
  Vec pair[kOut], fills[kOut], keeps[kOut];
  __mmask64 taken[kOut];
#pragma GCC unroll 4
  for (int k = 0; k < kOut; ++k) {
    pair[k] = _mm512_loadu_si512(p.pair[k]);
    fills[k] = _mm512_loadu_si512(p.pairFill[k]);
    keeps[k] = _mm512_loadu_si512(p.pairKeep[k]);
    taken[k] = p.pairTaken[k];
  }
  int32_t x = 0;
  for (; x + 64 <= pixels; x += 64) {
    Vec input[kIn + 1];
#pragma GCC unroll 4
    for (int k = 0; k < kIn; ++k) input[k] = _mm512_loadu_si512(src + kIn * x + 64 * k);
    input[kIn] = input[kIn - 1];
#pragma GCC unroll 4
    for (int k = 0; k < kOut; ++k) {
      const int first = PairFirst(k, kIn, kOut);
      Vec v = Or(_mm512_maskz_permutex2var_epi8(taken[k], input[first], pair[k], input[first + 1]), fills[k]);
      if (kKeeping) v = Or(v, And(_mm512_loadu_si512(dst + kOut * x + 64 * k), keeps[k]));
      _mm512_storeu_si512(dst + kOut * x + 64 * k, v);
    }
  }
  return x;
}

// Sixteen pixels a step, for what is left of a row.
template <bool kKeeping>
inline void Permute(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const Vec wide = _mm512_loadu_si512(p.wide), fill = _mm512_loadu_si512(p.wideFill);
  const Vec keep = _mm512_loadu_si512(p.wideKeep);
  const int in = p.map.inputBytes, out = p.map.outputBytes;
  for (int32_t x = 0; x < pixels; x += 16) {
    const int count = pixels - x < 16 ? pixels - x : 16;
    const int inBytes = count * in, outBytes = count * out;
    Vec v = Or(_mm512_maskz_permutexvar_epi8(p.wideTaken, wide, LoadBytes(src + in * x, inBytes)), fill);
    if (kKeeping) v = Or(v, And(LoadBytes(dst + out * x, outBytes), keep));
    StoreBytes(dst + out * x, v, outBytes);
  }
}

template <int kIn, int kOut, bool kKeeping>
inline void PermuteRow(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const int32_t done = PermuteWhole<kIn, kOut, kKeeping>(src, dst, pixels, p);
  Permute<kKeeping>(src + kIn * done, dst + kOut * done, pixels - done, p);
}

PIXELBRIDGE_ROW_ENTRY void FourToThree(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  PermuteRow<4, 3, false>(src, dst, pixels, p);
}
PIXELBRIDGE_ROW_ENTRY void FourToThreeKeeping(const uint8_t* src, uint8_t* dst, int32_t pixels,
                                              const RowPatterns& p) {
  PermuteRow<4, 3, true>(src, dst, pixels, p);
}
PIXELBRIDGE_ROW_ENTRY void ThreeToFour(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  PermuteRow<3, 4, false>(src, dst, pixels, p);
}
PIXELBRIDGE_ROW_ENTRY void OneToFour(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  Permute<false>(src, dst, pixels, p);
}

// Sixty-four samples a step. Each table sits in four vectors; a sample's low seven bits pick
// a byte from one pair of them, its top bit the pair. The four bytes of each pixel are then
// spread into place: output vector v takes bytes 0 and 1 of a pixel from one two-vector
// permute, bytes 2 and 3 from another.
PIXELBRIDGE_ROW_ENTRY int32_t OneToFourTables(const uint8_t* src, uint8_t* dst, int32_t pixels, const ByteTables& t) {
  Vec tables[4][4], fills[4], spread[4];
  bool looked[4];
#pragma GCC unroll 4
  for (int k = 0; k < 4; ++k) {
    looked[k] = t.table[k] != nullptr;
    for (int part = 0; part < 4; ++part)
      tables[k][part] = looked[k] ? _mm512_loadu_si512(t.table[k] + 64 * part) : _mm512_setzero_si512();
    fills[k] = _mm512_set1_epi8(static_cast<char>(t.fill[k]));
  }
  alignas(64) uint8_t index[64];
#pragma GCC unroll 4
  for (int v = 0; v < 4; ++v) {
    for (int j = 0; j < 64; ++j) index[j] = static_cast<uint8_t>((j & 1) * 64 + 16 * v + j / 4);
    spread[v] = _mm512_load_si512(index);
  }
  constexpr __mmask64 kHighBytes = 0xCCCCCCCCCCCCCCCCull;  // bytes 2 and 3 of every pixel
  int32_t x = 0;
  for (; x + 64 <= pixels; x += 64) {
    const Vec samples = _mm512_loadu_si512(src + x);
    const __mmask64 top = _mm512_movepi8_mask(samples);
    Vec bytes[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      bytes[k] = fills[k];
      if (!looked[k]) continue;
      const Vec low = _mm512_permutex2var_epi8(tables[k][0], samples, tables[k][1]);
      const Vec high = _mm512_permutex2var_epi8(tables[k][2], samples, tables[k][3]);
      bytes[k] = Or(_mm512_mask_blend_epi8(top, low, high), fills[k]);
    }
#pragma GCC unroll 4
    for (int v = 0; v < 4; ++v) {
      const Vec first = _mm512_permutex2var_epi8(bytes[0], spread[v], bytes[1]);
      const Vec second = _mm512_permutex2var_epi8(bytes[2], spread[v], bytes[3]);
      _mm512_storeu_si512(dst + 4 * x + 64 * v, _mm512_mask_blend_epi8(kHighBytes, first, second));
    }
  }
  return x;
}
#else
#if PIXELBRIDGE_VECTOR_BYTES == 32
inline __m256i Permute8(__m256i v, int a, int b, int c, int d, int e, int f, int g, int h) {
  return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(a, b, c, d, e, f, g, h));
}

// Bytes `at` to `at` + 31 of a pattern that repeats every 48 bytes (16 packed pixels).
inline Vec Repeat48(const uint8_t* pattern, int at) {
  return _mm256_set_m128i(Load16(pattern + (at + 16) % 48), Load16(pattern + at % 48));
}

// Thirty-two pixels a step: each input vector shuffled to twelve bytes a lane (dwords 0 to 2
// and 4 to 6), then dword permutes and blends lay the four runs of 24 bytes into three
// stores. Gives the pixels done.
template <bool kKeeping>
inline int32_t PackSteps(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const Vec shuffle = Pattern(p.shuffle);
  const Vec fills[3] = {Repeat48(p.wideFill, 0), Repeat48(p.wideFill, 32), Repeat48(p.wideFill, 64)};
  const Vec keeps[3] = {Repeat48(p.wideKeep, 0), Repeat48(p.wideKeep, 32), Repeat48(p.wideKeep, 64)};
  int32_t x = 0;
  for (; x + 32 <= pixels; x += 32) {
    const uint8_t* s = src + 4 * x;
    uint8_t* d = dst + 3 * x;
    Vec in[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) in[k] = Shuffle(Load(s + 32 * k), shuffle);
    Vec out[3] = {_mm256_blend_epi32(Permute8(in[0], 0, 1, 2, 4, 5, 6, 0, 0), Permute8(in[1], 0, 0, 0, 0, 0, 0, 0, 1), 0xC0),
                  _mm256_blend_epi32(Permute8(in[1], 2, 4, 5, 6, 0, 0, 0, 0), Permute8(in[2], 0, 0, 0, 0, 0, 1, 2, 4), 0xF0),
                  _mm256_blend_epi32(Permute8(in[2], 5, 6, 0, 0, 0, 0, 0, 0), Permute8(in[3], 0, 0, 0, 1, 2, 4, 5, 6), 0xFC)};
#pragma GCC unroll 3
    for (int k = 0; k < 3; ++k) {
      out[k] = Or(out[k], fills[k]);
      if (kKeeping) out[k] = Or(out[k], And(Load(d + 32 * k), keeps[k]));
      Store(d + 32 * k, out[k]);
    }
  }
  return x;
}

// Thirty-two pixels a step: each run of 24 input bytes spread to twelve bytes a lane by a
// dword permute, then shuffled into eight pixels. No load reaches past the step's 96 bytes.
inline int32_t UnpackSteps(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const Vec shuffle = Pattern(p.shuffle), fill = Pattern(p.fill);
  int32_t x = 0;
  for (; x + 32 <= pixels; x += 32) {
    const uint8_t* s = src + 3 * x;
    uint8_t* d = dst + 4 * x;
    const Vec runs[4] = {Permute8(Load(s), 0, 1, 2, 0, 3, 4, 5, 0), Permute8(Load(s + 24), 0, 1, 2, 0, 3, 4, 5, 0),
                         Permute8(Load(s + 48), 0, 1, 2, 0, 3, 4, 5, 0), Permute8(Load(s + 64), 2, 3, 4, 0, 5, 6, 7, 0)};
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) Store(d + 32 * k, Or(Shuffle(runs[k], shuffle), fill));
  }
  return x;
}
#else
template <bool kKeeping>
inline int32_t PackSteps(const uint8_t*, uint8_t*, int32_t, const RowPatterns&) { return 0; }
inline int32_t UnpackSteps(const uint8_t*, uint8_t*, int32_t, const RowPatterns&) { return 0; }
#endif

// Sixteen pixels a step: four shuffled blocks of twelve bytes spliced into three stores.
template <bool kKeeping>
inline void Pack(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const __m128i shuffle = Load16(p.shuffle);
  // Held in registers, and the loop over stores unrolled: the destination could alias them.
  __m128i fills[3], keeps[3];
  for (int k = 0; k < 3; ++k) fills[k] = Load16(p.wideFill + 16 * k), keeps[k] = Load16(p.wideKeep + 16 * k);
  int32_t x = PackSteps<kKeeping>(src, dst, pixels, p);
  for (; x + 16 <= pixels; x += 16) {
    const uint8_t* s = src + 4 * x;
    uint8_t* d = dst + 3 * x;
    const __m128i a = _mm_shuffle_epi8(Load16(s), shuffle);
    const __m128i b = _mm_shuffle_epi8(Load16(s + 16), shuffle);
    const __m128i c = _mm_shuffle_epi8(Load16(s + 32), shuffle);
    const __m128i e = _mm_shuffle_epi8(Load16(s + 48), shuffle);
    __m128i out[3] = {_mm_or_si128(a, _mm_slli_si128(b, 12)),
                      _mm_or_si128(_mm_srli_si128(b, 4), _mm_slli_si128(c, 8)),
                      _mm_or_si128(_mm_srli_si128(c, 8), _mm_slli_si128(e, 4))};
#pragma GCC unroll 3
    for (int k = 0; k < 3; ++k) {
      out[k] = _mm_or_si128(out[k], fills[k]);
      if (kKeeping) out[k] = _mm_or_si128(out[k], _mm_and_si128(Load16(d + 16 * k), keeps[k]));
      Store16(d + 16 * k, out[k]);
    }
  }
  MapPixels(src + 4 * x, dst + 3 * x, pixels - x, p.map);
}

PIXELBRIDGE_ROW_ENTRY void FourToThree(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  Pack<false>(src, dst, pixels, p);
}
PIXELBRIDGE_ROW_ENTRY void FourToThreeKeeping(const uint8_t* src, uint8_t* dst, int32_t pixels,
                                              const RowPatterns& p) {
  Pack<true>(src, dst, pixels, p);
}

// Sixteen pixels a step from 48 bytes, realigned so that each block of four starts a lane.
PIXELBRIDGE_ROW_ENTRY void ThreeToFour(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const __m128i shuffle = Load16(p.shuffle), fill = Load16(p.fill);
  int32_t x = UnpackSteps(src, dst, pixels, p);
  for (; x + 16 <= pixels; x += 16) {
    const uint8_t* s = src + 3 * x;
    uint8_t* d = dst + 4 * x;
    const __m128i in0 = Load16(s), in1 = Load16(s + 16), in2 = Load16(s + 32);
    Store16(d, _mm_or_si128(_mm_shuffle_epi8(in0, shuffle), fill));
    Store16(d + 16, _mm_or_si128(_mm_shuffle_epi8(_mm_alignr_epi8(in1, in0, 12), shuffle), fill));
    Store16(d + 32, _mm_or_si128(_mm_shuffle_epi8(_mm_alignr_epi8(in2, in1, 8), shuffle), fill));
    Store16(d + 48, _mm_or_si128(_mm_shuffle_epi8(_mm_srli_si128(in2, 4), shuffle), fill));
  }
  MapPixels(src + 3 * x, dst + 4 * x, pixels - x, p.map);
}

// Sixteen samples a step, four to each block of output pixels.
PIXELBRIDGE_ROW_ENTRY void OneToFour(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const __m128i shuffle = Load16(p.shuffle), fill = Load16(p.fill);
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16) {
    const __m128i in = Load16(src + x);
    uint8_t* d = dst + 4 * x;
    Store16(d, _mm_or_si128(_mm_shuffle_epi8(in, shuffle), fill));
    Store16(d + 16, _mm_or_si128(_mm_shuffle_epi8(_mm_srli_si128(in, 4), shuffle), fill));
    Store16(d + 32, _mm_or_si128(_mm_shuffle_epi8(_mm_srli_si128(in, 8), shuffle), fill));
    Store16(d + 48, _mm_or_si128(_mm_shuffle_epi8(_mm_srli_si128(in, 12), shuffle), fill));
  }
  MapPixels(src + x, dst + 4 * x, pixels - x, p.map);
}
#endif

// A vector of output bytes a step: the channel of input vector j's pixels goes to group j
// (bytes 4j to 4j + 3) of each 16-byte lane, and one permute puts the groups in order.
PIXELBRIDGE_ROW_ENTRY void FourToOne(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  // The pattern gathers four pixels' channel into group 0 (0x80 elsewhere); rotated, into group j.
  const __m128i first = Load16(p.shuffle);
  alignas(16) uint8_t rotated[4][16];
  Store16(rotated[0], first);
  Store16(rotated[1], _mm_alignr_epi8(first, first, 12));
  Store16(rotated[2], _mm_alignr_epi8(first, first, 8));
  Store16(rotated[3], _mm_alignr_epi8(first, first, 4));
  constexpr int kBytes = PIXELBRIDGE_VECTOR_BYTES;
  const Vec s0 = Pattern(rotated[0]), s1 = Pattern(rotated[1]), s2 = Pattern(rotated[2]), s3 = Pattern(rotated[3]);
  int32_t x = 0;
  for (; x + kBytes <= pixels; x += kBytes) {
    const uint8_t* s = src + 4 * x;
    const Vec low = Or(Shuffle(Load(s), s0), Shuffle(Load(s + kBytes), s1));
    const Vec high = Or(Shuffle(Load(s + 2 * kBytes), s2), Shuffle(Load(s + 3 * kBytes), s3));
    Store(dst + x, GroupsInOrder(Or(low, high)));
  }
  // Then 16 pixels a step, which need no permute.
  const __m128i r0 = first, r1 = Load16(rotated[1]), r2 = Load16(rotated[2]), r3 = Load16(rotated[3]);
  for (; x + 16 <= pixels; x += 16) {
    const uint8_t* s = src + 4 * x;
    const __m128i low = _mm_or_si128(_mm_shuffle_epi8(Load16(s), r0), _mm_shuffle_epi8(Load16(s + 16), r1));
    const __m128i high = _mm_or_si128(_mm_shuffle_epi8(Load16(s + 32), r2), _mm_shuffle_epi8(Load16(s + 48), r3));
    Store16(dst + x, _mm_or_si128(low, high));
  }
  MapPixels(src + 4 * x, dst + x, pixels - x, p.map);
}

}  // namespace

#if PIXELBRIDGE_VECTOR_BYTES == 64
#define PIXELBRIDGE_TABLE_ROW_KERNEL OneToFourTables
#else
// Without byte permutes across the vector, one lookup per pixel in a table of words is as fast.
#define PIXELBRIDGE_TABLE_ROW_KERNEL nullptr
#endif

#define PIXELBRIDGE_ROW_KERNEL_SET                                                                \
  {FourToFour, FourToFourKeeping, FourToFourMasked, FourToThree, FourToThreeKeeping, FourToOne, \
   ThreeToFour, OneToFour, PIXELBRIDGE_TABLE_ROW_KERNEL}
