// Patterns from byte maps, the scalar forms, and the kernel set of each level.
#include "pixels/row_kernels.h"

#include <cstring>

namespace {
constexpr uint8_t kZero = 0x80;  // a shuffle index that gives 0
}  // namespace

// Each SIMD level's set, defined in its own translation unit.
extern const RowKernelSet kRowKernelsSSSE3;
extern const RowKernelSet kRowKernelsAVX2;
extern const RowKernelSet kRowKernelsAVX512;

void BuildRowPatterns(const PixelMap& map, RowPatterns* patterns) {
  *patterns = RowPatterns{};
  patterns->map = map;
  // Sixteen pixels at once for the wide patterns, four for the 16-byte ones.
  for (int pixel = 0; pixel < 16; ++pixel) {
    for (int k = 0; k < map.outputBytes; ++k) {
      const int out = pixel * map.outputBytes + k;
      const int8_t from = map.from[k];
      patterns->wide[out] = from == PixelMap::kNone ? kZero : static_cast<uint8_t>(pixel * map.inputBytes + from);
      patterns->wideFill[out] = map.fill[k];
      patterns->wideKeep[out] = map.keep[k];
      if (pixel >= 4) continue;
      patterns->shuffle[out] = patterns->wide[out];
      patterns->fill[out] = map.fill[k];
      patterns->keep[out] = map.keep[k];
      const bool masked = map.maskTo == k;
      patterns->maskShuffle[out] = masked ? static_cast<uint8_t>(pixel * 4 + map.maskGreen) : kZero;
      patterns->maskFlip[out] = masked ? 0xFF : 0;
    }
  }
  // Output bytes past four packed pixels take nothing.
  for (int out = 4 * map.outputBytes; out < 16; ++out) patterns->shuffle[out] = kZero;
  for (int out = 16 * map.outputBytes; out < 64; ++out) patterns->wide[out] = kZero;
  for (int out = 0; out < 64; ++out)
    if (patterns->wide[out] != kZero) patterns->wideTaken |= uint64_t{1} << out;
  // Sixty-four pixels: each 64-byte output vector from the pair of input vectors it spans.
  for (int vector = 0; vector < map.outputBytes; ++vector) {
    const int firstPixel = vector * 64 / map.outputBytes;
    const int first = firstPixel * map.inputBytes / 64;
    patterns->pairFirst[vector] = static_cast<uint8_t>(first);
    for (int byte = 0; byte < 64; ++byte) {
      const int out = vector * 64 + byte;
      const int8_t from = map.from[out % map.outputBytes];
      patterns->pairFill[vector][byte] = map.fill[out % map.outputBytes];
      patterns->pairKeep[vector][byte] = map.keep[out % map.outputBytes];
      if (from == PixelMap::kNone) continue;
      patterns->pair[vector][byte] = static_cast<uint8_t>((out / map.outputBytes) * map.inputBytes + from - 64 * first);
      patterns->pairTaken[vector] |= uint64_t{1} << byte;
    }
  }
}

namespace {
inline uint8_t MapByte(const uint8_t* in, const uint8_t* out, const PixelMap& map, int k) {
  const uint8_t taken = map.from[k] == PixelMap::kNone ? 0 : in[map.from[k]];
  return static_cast<uint8_t>(taken | map.fill[k] | (out[k] & map.keep[k]));
}
}  // namespace

void MapPixels(const uint8_t* src, uint8_t* dst, int32_t pixels, const PixelMap& map) {
  for (int32_t x = 0; x < pixels; ++x) {
    for (int k = 0; k < map.outputBytes; ++k) dst[k] = MapByte(src, dst, map, k);
    src += map.inputBytes;
    dst += map.outputBytes;
  }
}

void MapMaskedPixels(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const PixelMap& map) {
  for (int32_t x = 0; x < pixels; ++x) {
    for (int k = 0; k < map.outputBytes; ++k) {
      dst[k] = MapByte(src, dst, map, k);
      if (k == map.maskTo) dst[k] = static_cast<uint8_t>(dst[k] | (255 - mask[map.maskGreen]));
    }
    src += 4;
    mask += 4;
    dst += map.outputBytes;
  }
}

namespace {
void ScalarFour(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) { MapPixels(src, dst, pixels, p.map); }
void ScalarMasked(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  MapMaskedPixels(src, mask, dst, pixels, p.map);
}
const RowKernelSet kScalar = {ScalarFour, ScalarFour, ScalarMasked, ScalarFour, ScalarFour, ScalarFour, ScalarFour, ScalarFour};
}  // namespace

const RowKernelSet& RowKernelsFor(SimdLevel level) {
#if defined(__i386__) || defined(__x86_64__)
  switch (level) {
    case SimdLevel::kAVX512: return kRowKernelsAVX512;
    case SimdLevel::kAVX2: return kRowKernelsAVX2;
    case SimdLevel::kSSSE3: return kRowKernelsSSSE3;
    default: break;
  }
#else
  (void)level;
#endif
  return kScalar;
}

const RowKernelSet& RowKernels() { return RowKernelsFor(ActiveSimdLevel()); }
