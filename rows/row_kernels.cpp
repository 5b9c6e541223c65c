// Patterns from maps, the kernels every level shares, and the kernel set of each level.
#include "rows/row_kernels.h"

#include <cstring>

#include "platform/architecture.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Each SIMD level's set, defined in its own translation unit.
#if PIXELBRIDGE_X86
extern const RowKernelSet kRowKernelsSSSE3;
extern const RowKernelSet kRowKernelsAVX2;
extern const RowKernelSet kRowKernelsAVX512;
#elif PIXELBRIDGE_ARM
extern const RowKernelSet kRowKernelsNEON;
#endif

void BuildRowPatterns(const PixelMap& map, SimdLevel level, RowPatterns* patterns) {
  patterns->map = map;
  if (level == SimdLevel::kScalar) return;
  const int in = map.inputStride, out = map.outputBytes();
  // Four pixels for the 16-byte patterns; bytes past four packed pixels take nothing.
  for (int byte = 0; byte < 16; ++byte) {
    const int pixel = byte / out, k = byte % out;
    const bool inside = pixel < 4;
    const bool masked = inside && map.maskTo == k;
    patterns->shuffle[byte] =
        inside && map.from[k] != PixelMap::kNone ? static_cast<uint8_t>(pixel * in + map.from[k]) : kZeroIndex;
    patterns->fill[byte] = inside ? map.fill[k] : 0;
    patterns->keep[byte] = inside ? map.keep[k] : 0;
    patterns->maskShuffle[byte] =
        masked ? static_cast<uint8_t>(pixel * kMaskBytesPerPixel + map.maskGreen) : kZeroIndex;
    patterns->maskFlip[byte] = masked ? 0xFF : 0;
  }
  // Sixteen pixels across 64 bytes (packing steps read these too).
  patterns->wideTaken = 0;
  for (int byte = 0, pixel = 0, k = 0; byte < 64; ++byte) {
    const bool inside = pixel < 16 && map.from[k] != PixelMap::kNone;
    patterns->wide[byte] = inside ? static_cast<uint8_t>(pixel * in + map.from[k]) : kZeroIndex;
    patterns->wideFill[byte] = pixel < 16 ? map.fill[k] : 0;
    patterns->wideKeep[byte] = pixel < 16 ? map.keep[k] : 0;
    if (inside) patterns->wideTaken |= uint64_t{1} << byte;
    if (++k == out) k = 0, ++pixel;
  }
#if PIXELBRIDGE_X86
  const bool pairs = level == SimdLevel::kAVX512;
#else
  const bool pairs = false;  // NEON takes its 16-byte pairs from the wide patterns
#endif
  if (!pairs || in < 3 || out < 3) return;
  // Sixty-four pixels: each 64-byte output vector from the pair of input vectors it spans.
  for (int vector = 0; vector < out; ++vector) patterns->pairTaken[vector] = 0;
  for (int pixel = 0; pixel < 64; ++pixel) {
    for (int k = 0; k < out; ++k) {
      const int at = pixel * out + k, vector = at >> 6, byte = at & 63;
      patterns->pairFill[vector][byte] = map.fill[k];
      patterns->pairKeep[vector][byte] = map.keep[k];
      if (map.from[k] == PixelMap::kNone) continue;
      patterns->pair[vector][byte] =
          static_cast<uint8_t>(pixel * in + map.from[k] - 64 * PairFirst<64>(vector, in, out));
      patterns->pairTaken[vector] |= uint64_t{1} << byte;
    }
  }
}

void MakePixelWords(const PixelMap& map, uint32_t* words) {
  // Per byte, the column of its 256 values (the table, the samples themselves, or zeros and
  // a constant), then the words from the columns in one plain loop. The words hold the bytes
  // in memory order on little-endian processors, which all targets here are.
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
  static constexpr ByteTable kZeros{};
  const uint8_t* column[4];
  uint32_t constant = 0;
  for (int k = 0; k < 4; ++k) {
    const uint8_t* looked = map.table[k] != nullptr ? map.table[k] : kIdentityTable.values;
    column[k] = map.from[k] == 0 ? looked : kZeros.values;
    if (map.from[k] != 0) constant |= uint32_t{looked[0]} << 8 * k;
    constant |= uint32_t{map.fill[k]} << 8 * k;
  }
#if defined(__SSE2__)
  // Sixteen words a step: the four columns' bytes interleaved (every x86-64 processor can).
  const __m128i fill = _mm_set1_epi32(static_cast<int32_t>(constant));
  const auto load = [&](int k, int v) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(column[k] + v)); };
  for (int v = 0; v < 256; v += 16) {
    const __m128i first = load(0, v), second = load(1, v), third = load(2, v), fourth = load(3, v);
    const __m128i low = _mm_unpacklo_epi8(first, second), high = _mm_unpackhi_epi8(first, second);
    const __m128i lowTop = _mm_unpacklo_epi8(third, fourth), highTop = _mm_unpackhi_epi8(third, fourth);
    auto* out = reinterpret_cast<__m128i*>(words + v);
    _mm_storeu_si128(out, _mm_or_si128(_mm_unpacklo_epi16(low, lowTop), fill));
    _mm_storeu_si128(out + 1, _mm_or_si128(_mm_unpackhi_epi16(low, lowTop), fill));
    _mm_storeu_si128(out + 2, _mm_or_si128(_mm_unpacklo_epi16(high, highTop), fill));
    _mm_storeu_si128(out + 3, _mm_or_si128(_mm_unpackhi_epi16(high, highTop), fill));
  }
#else
  for (int v = 0; v < 256; ++v)
    words[v] = (column[0][v] | column[1][v] << 8 | column[2][v] << 16 | uint32_t{column[3][v]} << 24) | constant;
#endif
}

void PlainRow(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  MapPixels(src, mask, dst, pixels, p.map);
}

void GrayWordsRow(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const int32_t stride = p.map.inputStride;
  const uint32_t* words = p.words;
  int32_t x = 0;
  // One stride at a time: samples 1 GiB apart would take 2 x stride past 32 bits.
  for (; x + 4 <= pixels; x += 4) {
    const uint8_t* second = src + stride;
    const uint8_t* third = second + stride;
    const uint8_t* fourth = third + stride;
    const uint32_t four[4] = {words[*src], words[*second], words[*third], words[*fourth]};
    memcpy(dst + 4 * x, four, sizeof four);
    src = fourth + stride;
  }
  for (; x < pixels; ++x, src += stride) memcpy(dst + 4 * x, &words[*src], 4);
}

namespace {
// Without vectors: gray through tables or at a stride one lookup a pixel in the pixel words,
// and the plain row for the rest.
constexpr LevelKernel ScalarKernel(Shape shape) {
  return shape == Shape::kOneToFourTables || shape == Shape::kGrayWords ? kGrayWordsRow : kPlainRow;
}
constexpr RowKernelSet kScalar = MakeRowKernelSet(ScalarKernel, NoKernel);
}  // namespace

const RowKernelSet& RowKernelsFor(SimdLevel level) {
#if PIXELBRIDGE_X86
  switch (level) {
    case SimdLevel::kAVX512:
      return kRowKernelsAVX512;
    case SimdLevel::kAVX2:
      return kRowKernelsAVX2;
    case SimdLevel::kSSSE3:
      return kRowKernelsSSSE3;
    default:
      break;
  }
#elif PIXELBRIDGE_ARM
  if (level == SimdLevel::kNEON) return kRowKernelsNEON;
#else
  (void)level;
#endif
  return kScalar;
}
