// Which SIMD instruction sets the row kernels may use: found once, capped by tests.
#pragma once

enum class SimdLevel : int {
  kScalar = 0,
  kSSSE3 = 1,   // byte shuffles on 16 bytes
  kAVX2 = 2,    // the same on 32 bytes
  kAVX512 = 3,  // 64 bytes, with byte permutes across the whole vector (BW and VBMI)
};

// What the processor and the operating system support.
SimdLevel DetectedSimdLevel();
// What the kernels use: the detected level, lowered by CapSimdLevel.
SimdLevel ActiveSimdLevel();
// Lowers the level the kernels use (a test seam; the detected level is never raised).
void CapSimdLevel(SimdLevel cap);
