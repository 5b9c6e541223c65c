// Tint and clamped tables: the plain loops; 64 entries a step at the AVX-512 level (made with
// the AVX-512 row kernels), else 16 with the 16-byte vectors every x86-64 processor has (other
// processors take the plain loops). Three tables are made on every call that tints or maps gray: 16
// entries a step, they cost a 1 x 1 call 30 to 45 ns, 64 a step 14 to 23.
#include "rows/gray_tables.h"

#include <algorithm>
#include <cstring>

#include "platform/cpu.h"

#if defined(__SSE2__)
#include <emmintrin.h>
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
bool WideTables() { return ActiveSimdLevel() >= SimdLevel::kAVX512; }
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
  if (WideTables()) return MakeTintTableAVX512(factor, table);
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
  int32_t i = WideTables() ? MakeClampedTableAVX512(values, count, table) : 0;
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
