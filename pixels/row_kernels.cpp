// Patterns from byte maps, the scalar forms, and the kernel set of each level.
#include "pixels/row_kernels.h"

#include <cstring>
#include <type_traits>

namespace {
constexpr uint8_t kZero = 0x80;  // a shuffle index that gives 0
}  // namespace

// Each SIMD level's set, defined in its own translation unit.
#if defined(__i386__) || defined(__x86_64__)
extern const RowKernelSet kRowKernelsSSSE3;
extern const RowKernelSet kRowKernelsAVX2;
extern const RowKernelSet kRowKernelsAVX512;
#elif defined(__aarch64__) || defined(__arm__)
extern const RowKernelSet kRowKernelsNEON;
#endif

namespace {
void MakeRowPatterns(const PixelMap& map, SimdLevel level, RowPatterns* patterns) {
  patterns->map = map;
  if (level == SimdLevel::kScalar) return;
  const int in = map.inputBytes, out = map.outputBytes;
  // Four pixels for the 16-byte patterns; bytes past four packed pixels take nothing.
  for (int byte = 0; byte < 16; ++byte) {
    const int pixel = byte / out, k = byte % out;
    const bool inside = pixel < 4;
    const bool masked = inside && map.maskTo == k;
    patterns->shuffle[byte] =
        inside && map.from[k] != PixelMap::kNone ? static_cast<uint8_t>(pixel * in + map.from[k]) : kZero;
    patterns->fill[byte] = inside ? map.fill[k] : 0;
    patterns->keep[byte] = inside ? map.keep[k] : 0;
    patterns->maskShuffle[byte] = masked ? static_cast<uint8_t>(pixel * 4 + map.maskGreen) : kZero;
    patterns->maskFlip[byte] = masked ? 0xFF : 0;
  }
  // Sixteen pixels across 64 bytes (packing steps read these too).
  patterns->wideTaken = 0;
  for (int byte = 0, pixel = 0, k = 0; byte < 64; ++byte) {
    const bool inside = pixel < 16 && map.from[k] != PixelMap::kNone;
    patterns->wide[byte] = inside ? static_cast<uint8_t>(pixel * in + map.from[k]) : kZero;
    patterns->wideFill[byte] = pixel < 16 ? map.fill[k] : 0;
    patterns->wideKeep[byte] = pixel < 16 ? map.keep[k] : 0;
    if (inside) patterns->wideTaken |= uint64_t{1} << byte;
    if (++k == out) k = 0, ++pixel;
  }
#if defined(__i386__) || defined(__x86_64__)
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
      patterns->pair[vector][byte] = static_cast<uint8_t>(pixel * in + map.from[k] - 64 * PairFirst(vector, in, out));
      patterns->pairTaken[vector] |= uint64_t{1} << byte;
    }
  }
}

// Maps compare as bytes.
static_assert(std::has_unique_object_representations_v<PixelMap>);
}  // namespace

void BuildRowPatterns(const PixelMap& map, SimdLevel level, RowPatterns* patterns) {
  // Making the patterns costs more than converting a small picture, and a program converts
  // many pictures in few layouts: each thread keeps the last few it made. Callers get a
  // copy, so a call made during another's yield can't change patterns in use.
  struct Made {
    bool valid;
    SimdLevel level;
    RowPatterns patterns;
  };
  constexpr int kKept = 4;
  thread_local Made made[kKept];
  thread_local int next;
  for (const Made& entry : made) {
    if (entry.valid && entry.level == level && memcmp(&entry.patterns.map, &map, sizeof map) == 0) {
      *patterns = entry.patterns;
      return;
    }
  }
  Made& entry = made[next];
  next = (next + 1) % kKept;
  entry.patterns = RowPatterns{};
  MakeRowPatterns(map, level, &entry.patterns);
  entry.level = level;
  entry.valid = true;
  *patterns = entry.patterns;
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
void ScalarFour(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  MapPixels(src, dst, pixels, p.map);
}
void ScalarMasked(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  MapMaskedPixels(src, mask, dst, pixels, p.map);
}
const RowKernelSet kScalar = {ScalarFour, ScalarFour, ScalarMasked, ScalarFour, ScalarFour,
                              ScalarFour, ScalarFour, ScalarFour,   nullptr};
}  // namespace

const RowKernelSet& RowKernelsFor(SimdLevel level) {
#if defined(__i386__) || defined(__x86_64__)
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
#elif defined(__aarch64__) || defined(__arm__)
  if (level == SimdLevel::kNEON) return kRowKernelsNEON;
#else
  (void)level;
#endif
  return kScalar;
}

const RowKernelSet& RowKernels() { return RowKernelsFor(ActiveSimdLevel()); }

const RowKernelSet& RowKernelsFor(SimdLevel level, bool streamStores) {
#if defined(__i386__) || defined(__x86_64__)
  if (streamStores && level == SimdLevel::kAVX512) return kRowKernelsAVX2;
#else
  (void)streamStores;
#endif
  return RowKernelsFor(level);
}

bool StreamsStores(SimdLevel level, int64_t bytesMoved) {
  return level != SimdLevel::kScalar && bytesMoved >= StreamingStoresFrom();
}
