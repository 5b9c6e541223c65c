// Which SIMD instruction sets the row kernels may use: found once, capped by tests.
#pragma once

#include <cstdint>

// Levels are numbered from 0, the plain kernels, up to the widest this processor family
// has; tests force each level in turn by its number.
enum class SimdLevel : int {
  kScalar = 0,
#if defined(__aarch64__) || defined(__arm__)
  kNEON = 1,  // 16-byte vectors with byte table lookups and (de)interleaving loads and stores
  kWidest = kNEON,
#else
  kSSSE3 = 1,   // byte shuffles on 16 bytes
  kAVX2 = 2,    // the same on 32 bytes
  kAVX512 = 3,  // 64 bytes, with byte permutes across the whole vector (BW and VBMI)
  kWidest = kAVX512,
#endif
};

// What the processor and the operating system support.
SimdLevel DetectedSimdLevel();
// What the kernels use: the detected level, lowered by CapSimdLevel.
SimdLevel ActiveSimdLevel();
// Lowers the level the kernels use (a test seam; the detected level is never raised).
void CapSimdLevel(SimdLevel cap);
// The level's name, for messages.
const char* SimdLevelName(SimdLevel level);

// The bytes of the largest cache level this processor reports, 0 when it tells none.
int64_t LastLevelCacheBytes();
// Calls that read and write at least this many bytes in all store around the caches: they
// pass more through the last-level cache than it holds, so little of what they wrote would
// still be there to read next, and streaming spares reading every destination line first.
// INT64_MAX where the cache's size is unknown or the kernels have no such stores.
int64_t StreamingStoresFrom();
// Sets that size (a test seam: 0 makes every call stream, −1 restores the default).
void SetStreamingStoresFrom(int64_t bytes);
