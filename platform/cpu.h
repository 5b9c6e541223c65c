// The processor: who made it, its family and model, which SIMD instruction sets the kernels
// may use (found once; held to one level by tests and the benchmark), and its cache.
#pragma once

#include <cstdint>

#include "platform/architecture.h"

// Levels are numbered from 0, the plain kernels, up to the widest this processor family
// has; tests force each level in turn by its number.
enum class SimdLevel : int {
  kScalar = 0,
#if PIXELBRIDGE_ARM
  kNEON = 1,  // 16-byte vectors with byte table lookups and (de)interleaving loads and stores
  kWidest = kNEON,
#else
  kSSSE3 = 1,   // byte shuffles on 16 bytes
  kAVX2 = 2,    // the same on 32 bytes
  kAVX512 = 3,  // 64 bytes, with byte permutes across the whole vector (BW and VBMI)
  kWidest = kAVX512,
#endif
};

enum class Vendor { kOther, kIntel, kAMD };

struct Processor {
  Vendor vendor = Vendor::kOther;
  int family = 0;                        // as the vendors number them: base family plus extended family
  int model = 0;                         // with the extended model
  SimdLevel level = SimdLevel::kScalar;  // the widest level it and the operating system support
};

#if PIXELBRIDGE_X86
// The CPUID leaves (registers EAX, EBX, ECX, EDX) and the XCR0 register that tell a processor.
struct CpuidAnswers {
  uint32_t leaf0[4];  // the highest leaf and the vendor's name
  uint32_t leaf1[4];  // family, model and features
  uint32_t leaf7[4];  // extended features (subleaf 0)
  uint64_t xcr0;      // the register state the operating system saves (0 without OSXSAVE)
  // macOS turns AVX-512 state on for a thread at its first use, so XCR0 doesn't show it
  // there: the system's own answer for AVX-512 F, BW and VBMI together, 1 or 0, stands in
  // for XCR0's and leaf 7's. -1 elsewhere.
  int avx512FromSystem = -1;
};
Processor ProcessorFrom(const CpuidAnswers& answers);
#endif

// This processor, found once.
const Processor& ThisProcessor();
SimdLevel DetectedSimdLevel();
// The level every shape is held to (at most the detected one), or -1 when none is: then each
// shape runs at the level the kernel table gives it.
int HeldSimdLevel();
// Holds every shape to `level` (a test and benchmark seam), or with -1 lets go.
void HoldSimdLevel(int level);
// The held level, or else the detected one.
SimdLevel ActiveSimdLevel();
// The level's name, for messages.
const char* SimdLevelName(SimdLevel level);

// The bytes of the largest cache level this processor reports, 0 when it tells none.
int64_t LastLevelCacheBytes();
