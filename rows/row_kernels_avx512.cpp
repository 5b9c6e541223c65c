// The row kernels built for AVX-512 (BW and VBMI): ordinary stores only. None store around
// the caches: calls that do run the AVX2 kernels, which can. And the gray tables' steps of 64
// entries.
// (Empty on other processors: a universal macOS build compiles every file for each.)
#include "platform/architecture.h"

#if PIXELBRIDGE_X86
#if defined(__GNUC__) && !defined(__clang__)
// GCC 12's own 512-bit intrinsics trip its uninitialised-value warnings (their "undefined"
// vectors); nothing of this file's is concerned.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
// PREFETCHW too, which every processor with these has.
#define PIXELBRIDGE_TARGET "avx512f,avx512bw,avx512vbmi,prfchw"
#define PIXELBRIDGE_VECTOR_BYTES 64
#include "rows/x86_kernels-inl.h"

#include "rows/gray_tables.h"

extern const RowKernelSet kRowKernelsAVX512 = kLevelKernels;

// As 16-bit values: lane L of the first vector holds 256 v for v = 16 L to 16 L + 7, of the
// second for 16 L + 8 to 16 L + 15, as the pack takes them. With the factor below 65536,
// v × factor / 256 is the high 16 bits of (256 v) × factor.
PIXELBRIDGE_ROW_ENTRY void MakeTintTableAVX512(int32_t factor, uint8_t* table) {
  const Vec scaled = _mm512_set1_epi16(static_cast<int16_t>(factor)), top = _mm512_set1_epi16(255);
  const Vec step = _mm512_set1_epi16(64 * 256);
  alignas(64) static constexpr uint16_t kFirst[32] = {
      0,    256,  512,  768,  1024, 1280, 1536, 1792, 4096,  4352,  4608,  4864,  5120,  5376,  5632,  5888,
      8192, 8448, 8704, 8960, 9216, 9472, 9728, 9984, 12288, 12544, 12800, 13056, 13312, 13568, 13824, 14080};
  Vec first = _mm512_load_si512(kFirst);
  Vec second = _mm512_add_epi16(first, _mm512_set1_epi16(8 * 256));
  for (int v = 0; v < 256; v += 64) {
    const Vec low = _mm512_min_epu16(_mm512_mulhi_epu16(first, scaled), top);
    const Vec high = _mm512_min_epu16(_mm512_mulhi_epu16(second, scaled), top);
    // Values of at most 255 pack to bytes as they are, each lane's sixteen in order.
    Store(table + v, _mm512_packus_epi16(low, high));
    first = _mm512_add_epi16(first, step);
    second = _mm512_add_epi16(second, step);
  }
}

// Saturating 32 to 16 bits and then 16 to 8 unsigned limits to 0 to 255. The in-lane packs
// leave each lane's four values of the four loads in turn, which the groups' order mends.
PIXELBRIDGE_ROW_ENTRY int32_t MakeClampedTableAVX512(const int32_t* values, int32_t count, uint8_t* table) {
  const auto load = [values](int32_t i) PIXELBRIDGE_KERNEL { return _mm512_loadu_si512(values + i); };
  int32_t i = 0;
  for (; i + 64 <= count; i += 64) {
    const Vec low = _mm512_packs_epi32(load(i), load(i + 16)), high = _mm512_packs_epi32(load(i + 32), load(i + 48));
    Store(table + i, GroupsInOrder(_mm512_packus_epi16(low, high)));
  }
  return i;
}
#endif
