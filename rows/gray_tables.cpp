// Tint and clamped tables: the plain loops; 64 entries a step where the processor has
// AVX-512 (BW), else 16 with the 16-byte vectors every x86-64 processor has (other processors
// take the plain loops). Three tables are made on every call that tints or maps gray: 16
// entries a step, they cost a 1 x 1 call 30 to 45 ns, 64 a step 14 to 23.
#include "rows/gray_tables.h"

#include <algorithm>
#include <cstring>

#include "platform/cpu.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace {
uint8_t ClampToByte(int64_t value) { return static_cast<uint8_t>(std::clamp<int64_t>(value, 0, 255)); }
}  // namespace

void MakeTintTablePlain(int32_t factor, uint8_t* table) {
  for (int v = 0; v < 256; ++v) table[v] = ClampToByte(int64_t{v} * factor / 256);
}

void MakeClampedTablePlain(const int32_t* values, int32_t count, uint8_t* table) {
  for (int32_t i = 0; i < 256; ++i) table[i] = i < count ? ClampToByte(values[i]) : 0;
}

#if defined(__SSE2__)
namespace {

#if defined(__GNUC__) && !defined(__clang__)
// GCC 12's own 512-bit intrinsics trip its uninitialised-value warnings (their "undefined"
// vectors); nothing of this file's is concerned.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#define PIXELBRIDGE_WIDE_TABLES __attribute__((target("avx512f,avx512bw")))
#if defined(__i386__)
// A host may call in with the stack aligned to 4 bytes only: these realign it, as the row
// kernels' entry points do.
#define PIXELBRIDGE_WIDE_ENTRY PIXELBRIDGE_WIDE_TABLES __attribute__((force_align_arg_pointer))
#else
#define PIXELBRIDGE_WIDE_ENTRY PIXELBRIDGE_WIDE_TABLES
#endif

bool WideTables() { return ActiveSimdLevel() >= SimdLevel::kAVX512; }

// In-lane packs leave each 16-byte lane of four vectors' values in turn: dword 4L + m of the
// packed vector holds four values of vector m's lane L. This puts them back in order.
PIXELBRIDGE_WIDE_TABLES inline __m512i InOrder(__m512i packed) {
  return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), packed);
}

// Sixty-four entries a step, as 16-bit values: lane L of the first vector holds 256 v for
// v = 16 L to 16 L + 7, of the second for 16 L + 8 to 16 L + 15, as the pack takes them.
PIXELBRIDGE_WIDE_ENTRY void MakeTintTableWide(int32_t factor, uint8_t* table) {
  const __m512i scaled = _mm512_set1_epi16(static_cast<int16_t>(factor)), top = _mm512_set1_epi16(255);
  const __m512i step = _mm512_set1_epi16(64 * 256);
  alignas(64) static constexpr uint16_t kFirst[32] = {
      0,    256,  512,  768,  1024, 1280, 1536, 1792, 4096,  4352,  4608,  4864,  5120,  5376,  5632,  5888,
      8192, 8448, 8704, 8960, 9216, 9472, 9728, 9984, 12288, 12544, 12800, 13056, 13312, 13568, 13824, 14080};
  __m512i first = _mm512_load_si512(kFirst);
  __m512i second = _mm512_add_epi16(first, _mm512_set1_epi16(8 * 256));
  for (int v = 0; v < 256; v += 64) {
    const __m512i low = _mm512_min_epu16(_mm512_mulhi_epu16(first, scaled), top);
    const __m512i high = _mm512_min_epu16(_mm512_mulhi_epu16(second, scaled), top);
    // Values of at most 255 pack to bytes as they are, each lane's sixteen in order.
    _mm512_storeu_si512(table + v, _mm512_packus_epi16(low, high));
    first = _mm512_add_epi16(first, step);
    second = _mm512_add_epi16(second, step);
  }
}

// Sixty-four entries a step: saturating 32 to 16 bits and then 16 to 8 unsigned limits to 0
// to 255. Returns the entries made.
PIXELBRIDGE_WIDE_ENTRY int32_t MakeClampedTableWide(const int32_t* values, int32_t count, uint8_t* table) {
  int32_t i = 0;
  for (; i + 64 <= count; i += 64) {
    const __m512i low = _mm512_packs_epi32(_mm512_loadu_si512(values + i), _mm512_loadu_si512(values + i + 16));
    const __m512i high = _mm512_packs_epi32(_mm512_loadu_si512(values + i + 32), _mm512_loadu_si512(values + i + 48));
    _mm512_storeu_si512(table + i, InOrder(_mm512_packus_epi16(low, high)));
  }
  return i;
}

}  // namespace

void MakeTintTable(int32_t factor, uint8_t* table) {
  // A factor at or below 0 makes no sample brighter than 0; one of 65536 or more makes every
  // sample but 0 at least 256 before the limit.
  if (factor <= 0 || factor >= 65536) {
    memset(table, factor <= 0 ? 0 : 255, 256);
    table[0] = 0;
    return;
  }
  // With the factor below 65536, v × factor / 256 is the high 16 bits of (256 v) × factor, both
  // of 16 bits; that less what it has above 255 is its limit.
  if (WideTables()) return MakeTintTableWide(factor, table);
  const __m128i scaled = _mm_set1_epi16(static_cast<int16_t>(factor)), top = _mm_set1_epi16(255);
  const auto tint = [&](__m128i samples) {
    const __m128i tinted = _mm_mulhi_epu16(samples, scaled);
    return _mm_sub_epi16(tinted, _mm_subs_epu16(tinted, top));
  };
  __m128i samples = _mm_setr_epi16(0, 256, 512, 768, 1024, 1280, 1536, 1792);  // 256 v
  const __m128i eight = _mm_set1_epi16(8 * 256);
  for (int v = 0; v < 256; v += 16) {
    const __m128i first = tint(samples);
    samples = _mm_add_epi16(samples, eight);
    const __m128i second = tint(samples);
    samples = _mm_add_epi16(samples, eight);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(table + v), _mm_packus_epi16(first, second));
  }
}

void MakeClampedTable(const int32_t* values, int32_t count, uint8_t* table) {
  // Saturating 32 to 16 bits and then 16 to 8 unsigned limits to 0 to 255.
  int32_t i = WideTables() ? MakeClampedTableWide(values, count, table) : 0;
  for (; i + 16 <= count; i += 16) {
    const auto* in = reinterpret_cast<const __m128i*>(values + i);
    const __m128i low = _mm_packs_epi32(_mm_loadu_si128(in), _mm_loadu_si128(in + 1));
    const __m128i high = _mm_packs_epi32(_mm_loadu_si128(in + 2), _mm_loadu_si128(in + 3));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(table + i), _mm_packus_epi16(low, high));
  }
  for (; i < count; ++i) table[i] = ClampToByte(values[i]);
  memset(table + i, 0, static_cast<size_t>(256 - i));
}
#else
void MakeTintTable(int32_t factor, uint8_t* table) { MakeTintTablePlain(factor, table); }
void MakeClampedTable(const int32_t* values, int32_t count, uint8_t* table) {
  MakeClampedTablePlain(values, count, table);
}
#endif
