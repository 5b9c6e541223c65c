// SIMD level detection: CPUID and, before any AVX level, XGETBV on x86; on ARM, NEON is part
// of every 64-bit processor and a feature bit the kernel reports on 32-bit ones.
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
#elif defined(__aarch64__)
SimdLevel Detect() { return SimdLevel::kNEON; }
#elif defined(__arm__) && defined(__linux__)
SimdLevel Detect() { return getauxval(AT_HWCAP) & HWCAP_NEON ? SimdLevel::kNEON : SimdLevel::kScalar; }
#else
SimdLevel Detect() { return SimdLevel::kScalar; }
#endif

SimdLevel gCap = SimdLevel::kWidest;

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
