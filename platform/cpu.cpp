// SIMD level detection: CPUID and, before any AVX level, XGETBV on x86; on ARM, NEON is part
// of every 64-bit processor and a feature bit the kernel reports on 32-bit ones. Also the
// last-level cache's size, from CPUID's cache leaves, which sets when stores stream.
#include "platform/cpu.h"

#if defined(__i386__) || defined(__x86_64__)
#include <cpuid.h>
#elif defined(__arm__) && defined(__linux__)
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace {

#if defined(__i386__) || defined(__x86_64__)
// The register state the operating system saves: XMM and YMM (bits 1, 2), and the
// opmask and ZMM registers (bits 5 to 7).
unsigned long long EnabledStates() {
  unsigned int eax = 0, edx = 0;
  __asm__ volatile("xgetbv" : "=a"(eax), "=d"(edx) : "c"(0));
  return (static_cast<unsigned long long>(edx) << 32) | eax;
}

SimdLevel Detect() {
  unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
  if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return SimdLevel::kScalar;
  const bool ssse3 = ecx & bit_SSSE3;
  const bool osxsave = ecx & bit_OSXSAVE;
  if (!ssse3) return SimdLevel::kScalar;
  if (!osxsave) return SimdLevel::kSSSE3;
  const unsigned long long states = EnabledStates();
  const bool ymm = (states & 0x6) == 0x6;
  const bool zmm = (states & 0xE6) == 0xE6;
  if (__get_cpuid_max(0, nullptr) < 7 || !ymm) return SimdLevel::kSSSE3;
  __cpuid_count(7, 0, eax, ebx, ecx, edx);
  const bool avx2 = ebx & bit_AVX2;
  const bool avx512 = zmm && (ebx & bit_AVX512F) && (ebx & bit_AVX512BW) && (ecx & bit_AVX512VBMI);
  if (!avx2) return SimdLevel::kSSSE3;
  return avx512 ? SimdLevel::kAVX512 : SimdLevel::kAVX2;
}

// Deterministic cache parameters, one cache a subleaf (Intel's leaf 4, AMD's 0x8000001D):
// ways × partitions × line size × sets of the highest level.
int64_t LargestCache(unsigned int leaf) {
  int64_t largest = 0;
  for (unsigned int index = 0; index < 16; ++index) {
    unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
    __cpuid_count(leaf, index, eax, ebx, ecx, edx);
    if ((eax & 0x1F) == 0) break;  // no more caches
    const int64_t bytes =
        int64_t{(ebx >> 22) + 1} * (((ebx >> 12) & 0x3FF) + 1) * ((ebx & 0xFFF) + 1) * (int64_t{ecx} + 1);
    if (bytes > largest) largest = bytes;
  }
  return largest;
}

int64_t DetectLastLevelCache() {
  unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
  if (!__get_cpuid(0, &eax, &ebx, &ecx, &edx)) return 0;
  const unsigned int maxLeaf = eax;
  const bool amd = ebx == signature_AMD_ebx && edx == signature_AMD_edx && ecx == signature_AMD_ecx;
  if (amd) {
    // The cache topology leaf where the processor has it (bit 22 of 0x80000001 ECX).
    if (__get_cpuid(0x80000001, &eax, &ebx, &ecx, &edx) && (ecx & (1u << 22)) != 0) return LargestCache(0x8000001D);
    return 0;
  }
  return maxLeaf >= 4 ? LargestCache(4) : 0;
}
#elif defined(__aarch64__)
SimdLevel Detect() { return SimdLevel::kNEON; }
#elif defined(__arm__) && defined(__linux__)
SimdLevel Detect() { return getauxval(AT_HWCAP) & HWCAP_NEON ? SimdLevel::kNEON : SimdLevel::kScalar; }
#else
SimdLevel Detect() { return SimdLevel::kScalar; }
#endif

SimdLevel gCap = SimdLevel::kWidest;

#if defined(__i386__) || defined(__x86_64__)
int64_t DefaultStreamingStoresFrom() {
  const int64_t cache = LastLevelCacheBytes();
  return cache > 0 ? cache + 1 : INT64_MAX;
}
#else
// The NEON kernels store through the caches only.
int64_t DefaultStreamingStoresFrom() { return INT64_MAX; }
int64_t DetectLastLevelCache() { return 0; }
#endif
int64_t gStreamingStoresFrom = -1;  // -1: not set, the default

}  // namespace

SimdLevel DetectedSimdLevel() {
  static const SimdLevel detected = Detect();
  return detected;
}

SimdLevel ActiveSimdLevel() {
  const SimdLevel detected = DetectedSimdLevel();
  return static_cast<int>(gCap) < static_cast<int>(detected) ? gCap : detected;
}

void CapSimdLevel(SimdLevel cap) { gCap = cap; }

const char* SimdLevelName(SimdLevel level) {
#if defined(__aarch64__) || defined(__arm__)
  static const char* const kNames[] = {"scalar", "NEON"};
#else
  static const char* const kNames[] = {"scalar", "SSSE3", "AVX2", "AVX-512"};
#endif
  const int index = static_cast<int>(level);
  return index >= 0 && index <= static_cast<int>(SimdLevel::kWidest) ? kNames[index] : "unknown";
}

int64_t LastLevelCacheBytes() {
  static const int64_t bytes = DetectLastLevelCache();
  return bytes;
}

int64_t StreamingStoresFrom() {
  return gStreamingStoresFrom >= 0 ? gStreamingStoresFrom : DefaultStreamingStoresFrom();
}

void SetStreamingStoresFrom(int64_t bytes) { gStreamingStoresFrom = bytes; }
