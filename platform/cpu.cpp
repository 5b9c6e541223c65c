// The processor's identity and SIMD level: CPUID and, before any AVX level, XGETBV on x86
// (on macOS the system's word for AVX-512 in place of XGETBV's); on ARM, NEON is part of
// every 64-bit processor and a feature bit the kernel reports on 32-bit ones. Also the
// last-level cache's size, from CPUID's cache leaves, which sets when stores stream.
#include "platform/cpu.h"

#include "platform/architecture.h"
#include "platform/hot_path.h"

#if PIXELBRIDGE_X86
#include <cpuid.h>
#if defined(__APPLE__)
#include <sys/sysctl.h>
#endif
#elif defined(__arm__) && defined(__linux__)
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

#if PIXELBRIDGE_X86
Processor ProcessorFrom(const CpuidAnswers& answers) {
  enum { kEax, kEbx, kEcx, kEdx };
  Processor processor;
  const uint32_t* vendor = answers.leaf0;
  if (vendor[kEbx] == signature_INTEL_ebx && vendor[kEdx] == signature_INTEL_edx && vendor[kEcx] == signature_INTEL_ecx)
    processor.vendor = Vendor::kIntel;
  if (vendor[kEbx] == signature_AMD_ebx && vendor[kEdx] == signature_AMD_edx && vendor[kEcx] == signature_AMD_ecx)
    processor.vendor = Vendor::kAMD;
  const uint32_t maxLeaf = vendor[kEax];
  if (maxLeaf < 1) return processor;
  const uint32_t signature = answers.leaf1[kEax];
  const int baseFamily = (signature >> 8) & 0xF, baseModel = (signature >> 4) & 0xF;
  processor.family = baseFamily == 0xF ? baseFamily + static_cast<int>((signature >> 20) & 0xFF) : baseFamily;
  const bool extendedModel = baseFamily == 0xF || (baseFamily == 6 && processor.vendor != Vendor::kAMD);
  processor.model = extendedModel ? static_cast<int>((signature >> 12) & 0xF0) | baseModel : baseModel;

  const uint32_t features = answers.leaf1[kEcx];
  if (!(features & bit_SSSE3)) return processor;
  processor.level = SimdLevel::kSSSE3;
  // XMM and YMM state saved (bits 1, 2), and the opmask and ZMM registers (bits 5 to 7).
  const bool ymm = (features & bit_OSXSAVE) && (answers.xcr0 & 0x6) == 0x6;
  const bool zmm = ymm && (answers.xcr0 & 0xE6) == 0xE6;
  const uint32_t ebx7 = answers.leaf7[kEbx], ecx7 = answers.leaf7[kEcx];
  if (maxLeaf < 7 || !ymm || !(ebx7 & bit_AVX2)) return processor;
  processor.level = SimdLevel::kAVX2;
  const bool avx512 = answers.avx512FromSystem >= 0
                          ? answers.avx512FromSystem == 1
                          : zmm && (ebx7 & bit_AVX512F) && (ebx7 & bit_AVX512BW) && (ecx7 & bit_AVX512VBMI);
  if (avx512) processor.level = SimdLevel::kAVX512;
  return processor;
}
#endif

namespace {

#if PIXELBRIDGE_X86
#if defined(__APPLE__)
// A feature the system reports under hw.optional (absent: the processor lacks it).
bool SystemHas(const char* name) {
  int32_t value = 0;
  size_t size = sizeof value;
  return sysctlbyname(name, &value, &size, nullptr, 0) == 0 && value != 0;
}
#endif

Processor Detect() {
  CpuidAnswers answers{};
  uint32_t* r = answers.leaf0;
  if (!__get_cpuid(0, &r[0], &r[1], &r[2], &r[3])) return {};
  r = answers.leaf1;
  __cpuid(1, r[0], r[1], r[2], r[3]);
  if (answers.leaf0[0] >= 7) {
    r = answers.leaf7;
    __cpuid_count(7, 0, r[0], r[1], r[2], r[3]);
  }
  if (answers.leaf1[2] & bit_OSXSAVE) {
    uint32_t eax = 0, edx = 0;
    __asm__ volatile("xgetbv" : "=a"(eax), "=d"(edx) : "c"(0));
    answers.xcr0 = (uint64_t{edx} << 32) | eax;
  }
#if defined(__APPLE__)
  answers.avx512FromSystem =
      SystemHas("hw.optional.avx512f") && SystemHas("hw.optional.avx512bw") && SystemHas("hw.optional.avx512vbmi");
#endif
  return ProcessorFrom(answers);
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
  if (ThisProcessor().vendor == Vendor::kAMD) {
    // The cache topology leaf where the processor has it (bit 22 of 0x80000001 ECX).
    if (__get_cpuid(0x80000001, &eax, &ebx, &ecx, &edx) && (ecx & (1u << 22)) != 0) return LargestCache(0x8000001D);
    return 0;
  }
  return maxLeaf >= 4 ? LargestCache(4) : 0;
}
#else
Processor Detect() {
  Processor processor;
#if defined(__aarch64__)
  processor.level = SimdLevel::kNEON;
#elif defined(__arm__) && defined(__linux__)
  if (getauxval(AT_HWCAP) & HWCAP_NEON) processor.level = SimdLevel::kNEON;
#endif
  return processor;
}
int64_t DetectLastLevelCache() { return 0; }
#endif

// The level held to, at most the detected one; -1: not held. Worked out when held, not on
// each of the several reads a call makes.
int gHeld = -1;

}  // namespace

PIXELBRIDGE_HOT const Processor& ThisProcessor() {
  static const Processor processor = Detect();
  return processor;
}

PIXELBRIDGE_HOT SimdLevel DetectedSimdLevel() { return ThisProcessor().level; }

PIXELBRIDGE_HOT int HeldSimdLevel() { return gHeld; }

void HoldSimdLevel(int level) {
  const int detected = static_cast<int>(DetectedSimdLevel());
  gHeld = level < 0 ? -1 : level < detected ? level : detected;
}

PIXELBRIDGE_HOT SimdLevel ActiveSimdLevel() {
  return gHeld >= 0 ? static_cast<SimdLevel>(gHeld) : ThisProcessor().level;
}

const char* SimdLevelName(SimdLevel level) {
#if PIXELBRIDGE_ARM
  static const char* const kNames[] = {"scalar", "NEON"};
#else
  static const char* const kNames[] = {"scalar", "SSSE3", "AVX2", "AVX-512"};
#endif
  const int index = static_cast<int>(level);
  return index >= 0 && index <= static_cast<int>(SimdLevel::kWidest) ? kNames[index] : "unknown";
}

PIXELBRIDGE_HOT int64_t LastLevelCacheBytes() {
  static const int64_t bytes = DetectLastLevelCache();
  return bytes;
}
