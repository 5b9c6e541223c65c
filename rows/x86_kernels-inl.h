// The x86 SIMD row kernels, written once for SSSE3, AVX2 and AVX-512 (NEON's are written
// for it, in row_kernels_neon.cpp). Each instruction set's translation unit includes this
// after naming its target (PIXELBRIDGE_TARGET, given to every function here as a target
// attribute, so that the rest of the program keeps the baseline) and PIXELBRIDGE_VECTOR_BYTES
// (16, 32 or 64); everything here is internal to that unit, its kernel set kLevelKernels too.
// Four-byte shapes shuffle within 16-byte lanes and so run at the full width (here); packing
// and gray shapes cross lanes, and run as byte permutes of the whole vector where the level
// has them (x86_permute_kernels-inl.h) or else with lane shuffles and dword permutes
// (x86_pack_kernels-inl.h). The 16- and 32-byte kernels can store around the caches.
#include <immintrin.h>

#include <type_traits>

#include "rows/row_kernels.h"

#define PIXELBRIDGE_KERNEL __attribute__((target(PIXELBRIDGE_TARGET)))
#if defined(__i386__)
// The kernels' entry points: hosts may call in with a stack aligned to 4 bytes only.
#define PIXELBRIDGE_ROW_ENTRY PIXELBRIDGE_KERNEL __attribute__((force_align_arg_pointer))
#else
#define PIXELBRIDGE_ROW_ENTRY PIXELBRIDGE_KERNEL
#endif

namespace {

PIXELBRIDGE_KERNEL inline __m128i Load16(const uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
PIXELBRIDGE_KERNEL inline void Store16(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
// Ordinary, or around the caches (kStream: `p` is 16-byte aligned).
template <bool kStream>
PIXELBRIDGE_KERNEL inline void Put16(uint8_t* p, __m128i v) {
  if constexpr (kStream) _mm_stream_si128(reinterpret_cast<__m128i*>(p), v);
  else Store16(p, v);
}

#if PIXELBRIDGE_VECTOR_BYTES == 16
using Vec = __m128i;
PIXELBRIDGE_KERNEL inline Vec Load(const uint8_t* p) { return Load16(p); }
PIXELBRIDGE_KERNEL inline void Store(uint8_t* p, Vec v) { Store16(p, v); }
PIXELBRIDGE_KERNEL inline void StreamStore(uint8_t* p, Vec v) { _mm_stream_si128(reinterpret_cast<__m128i*>(p), v); }
PIXELBRIDGE_KERNEL inline Vec Pattern(const uint8_t* p) { return Load16(p); }
PIXELBRIDGE_KERNEL inline Vec Shuffle(Vec v, Vec m) { return _mm_shuffle_epi8(v, m); }
PIXELBRIDGE_KERNEL inline Vec Or(Vec a, Vec b) { return _mm_or_si128(a, b); }
PIXELBRIDGE_KERNEL inline Vec And(Vec a, Vec b) { return _mm_and_si128(a, b); }
PIXELBRIDGE_KERNEL inline Vec Xor(Vec a, Vec b) { return _mm_xor_si128(a, b); }
// Four-byte groups gathered lane by lane (group j of every lane from input vector j) put in
// pixel order: one lane is already in order.
PIXELBRIDGE_KERNEL inline Vec GroupsInOrder(Vec v) { return v; }
#elif PIXELBRIDGE_VECTOR_BYTES == 32
using Vec = __m256i;
PIXELBRIDGE_KERNEL inline Vec Load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
PIXELBRIDGE_KERNEL inline void Store(uint8_t* p, Vec v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
PIXELBRIDGE_KERNEL inline void StreamStore(uint8_t* p, Vec v) { _mm256_stream_si256(reinterpret_cast<__m256i*>(p), v); }
PIXELBRIDGE_KERNEL inline Vec Pattern(const uint8_t* p) { return _mm256_broadcastsi128_si256(Load16(p)); }
PIXELBRIDGE_KERNEL inline Vec Shuffle(Vec v, Vec m) { return _mm256_shuffle_epi8(v, m); }
PIXELBRIDGE_KERNEL inline Vec Or(Vec a, Vec b) { return _mm256_or_si256(a, b); }
PIXELBRIDGE_KERNEL inline Vec And(Vec a, Vec b) { return _mm256_and_si256(a, b); }
PIXELBRIDGE_KERNEL inline Vec Xor(Vec a, Vec b) { return _mm256_xor_si256(a, b); }
PIXELBRIDGE_KERNEL inline Vec GroupsInOrder(Vec v) {
  return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}
#elif PIXELBRIDGE_VECTOR_BYTES == 64
using Vec = __m512i;
PIXELBRIDGE_KERNEL inline Vec Load(const uint8_t* p) { return _mm512_loadu_si512(p); }
PIXELBRIDGE_KERNEL inline void Store(uint8_t* p, Vec v) { _mm512_storeu_si512(p, v); }
PIXELBRIDGE_KERNEL inline Vec Pattern(const uint8_t* p) { return _mm512_broadcast_i32x4(Load16(p)); }
PIXELBRIDGE_KERNEL inline Vec Shuffle(Vec v, Vec m) { return _mm512_shuffle_epi8(v, m); }
PIXELBRIDGE_KERNEL inline Vec Or(Vec a, Vec b) { return _mm512_or_si512(a, b); }
PIXELBRIDGE_KERNEL inline Vec And(Vec a, Vec b) { return _mm512_and_si512(a, b); }
PIXELBRIDGE_KERNEL inline Vec Xor(Vec a, Vec b) { return _mm512_xor_si512(a, b); }
PIXELBRIDGE_KERNEL inline Vec GroupsInOrder(Vec v) {
  return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), v);
}

// Loads and stores of the first `count` bytes of a vector (1 to 64): whole steps with plain
// 16- and 32-byte moves (masked moves are slow on some processors); a partial step masks its
// bytes so that nothing outside the row is touched. The bytes a masked move leaves out must
// not lie in a page that isn't mapped, or the processor takes the slow way to leave them out
// (hundreds of cycles): where a vector from the bytes' start would reach into the next page
// (a row that ends at a page's end), the move is made on the vector that ends where the bytes
// end, whose other bytes lie in the bytes' own page, and the bytes are moved across the vector.
constexpr __mmask64 Bytes(int count) { return count >= 64 ? ~__mmask64{0} : (__mmask64{1} << count) - 1; }
PIXELBRIDGE_KERNEL inline bool ReachesNextPage(const uint8_t* p) {
  constexpr uintptr_t kPage = 4096;
  return (reinterpret_cast<uintptr_t>(p) & (kPage - 1)) > kPage - 64;
}
// Byte j of the result is byte j + shift (modulo 64) of `v`.
PIXELBRIDGE_KERNEL inline Vec Rotate(Vec v, int shift) {
  const Vec order = _mm512_set_epi64(0x3F3E3D3C3B3A3938, 0x3736353433323130, 0x2F2E2D2C2B2A2928, 0x2726252423222120,
                                     0x1F1E1D1C1B1A1918, 0x1716151413121110, 0x0F0E0D0C0B0A0908, 0x0706050403020100);
  return _mm512_permutexvar_epi8(_mm512_add_epi8(order, _mm512_set1_epi8(static_cast<char>(shift))), v);
}
PIXELBRIDGE_KERNEL inline Vec LoadBytes(const uint8_t* p, int count) {
  switch (count) {
    case 64:
      return _mm512_loadu_si512(p);
    case 48:
      return _mm512_inserti32x4(_mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))),
                                Load16(p + 32), 2);
    case 16:
      return _mm512_castsi128_si512(Load16(p));
    default:
      if (!ReachesNextPage(p)) return _mm512_maskz_loadu_epi8(Bytes(count), p);
      return _mm512_maskz_mov_epi8(Bytes(count),
                                   Rotate(_mm512_maskz_loadu_epi8(~Bytes(64 - count), p + count - 64), 64 - count));
  }
}
PIXELBRIDGE_KERNEL inline void StoreBytes(uint8_t* p, Vec v, int count) {
  switch (count) {
    case 64:
      return _mm512_storeu_si512(p, v);
    case 48:
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_castsi512_si256(v));
      return Store16(p + 32, _mm512_extracti32x4_epi32(v, 2));
    default:
      if (!ReachesNextPage(p)) return _mm512_mask_storeu_epi8(p, Bytes(count), v);
      return _mm512_mask_storeu_epi8(p + count - 64, ~Bytes(64 - count), Rotate(v, count));
  }
}
#endif

constexpr int32_t kPixelsPerVector = PIXELBRIDGE_VECTOR_BYTES / 4;

// A whole vector of a row's steps: stored ordinarily, or around the caches (kStream: `p` is
// aligned to the vector; the 64-byte kernels have no such stores).
template <bool kStream>
PIXELBRIDGE_KERNEL inline void Put(uint8_t* p, Vec v) {
#if PIXELBRIDGE_VECTOR_BYTES < 64
  if constexpr (kStream) return StreamStore(p, v);
#else
  static_assert(!kStream, "no streaming stores of 64 bytes");
#endif
  Store(p, v);
}

// The pixels of `out` bytes that take `dst` to the next vector boundary; -1 when no count
// does (four-byte pixels at an address that isn't a multiple of four).
template <int kOut>
PIXELBRIDGE_KERNEL inline int32_t PixelsToBoundary(const uint8_t* dst) {
  static_assert(kOut > 0 && PIXELBRIDGE_VECTOR_BYTES < 64, "only the streaming kernels align their stores");
  constexpr uintptr_t kMask = PIXELBRIDGE_VECTOR_BYTES - 1, kInverseOf3 = 11;  // 3 × 11 is 1 modulo 16 and 32
  const uintptr_t bytes = (0 - reinterpret_cast<uintptr_t>(dst)) & kMask;
  if constexpr (kOut == 1) return static_cast<int32_t>(bytes);
  if constexpr (kOut == 3) return static_cast<int32_t>((bytes * kInverseOf3) & kMask);
  return bytes % 4 == 0 ? static_cast<int32_t>(bytes / 4) : -1;
}

// Runs `steps(stream, first, count)` over pixels 0 to `pixels` − 1 of a row whose output
// pixels have `kOut` bytes, storing as kStores says: streaming, the stores past the first
// vector boundary of the destination go around the caches, those before it the ordinary way.
template <int kOut, Stores kStores, typename Steps>
PIXELBRIDGE_KERNEL inline void RunRow(const uint8_t* dst, int32_t pixels, Steps&& steps) {
  if constexpr (kStores == Stores::kStreaming) {
    const int32_t head = PixelsToBoundary<kOut>(dst);
    if (head >= 0 && head < pixels) {
      steps(std::false_type{}, 0, head);
      steps(std::true_type{}, head, pixels - head);
      _mm_sfence();
      return;
    }
  }
  steps(std::false_type{}, 0, pixels);
}

#if PIXELBRIDGE_VECTOR_BYTES == 64
// The whole vectors of a row that keeps destination bytes, `made(x)` giving the vector of
// pixels x on; returns the pixels done. Masked stores leave the kept bytes alone, as fast as
// storing every byte, two vectors a step (one a step ran no faster than merging). The lines a
// kilobyte on are asked for, for writing, as the reads of a merge would bring them in:
// without, frames larger than the caches ran a quarter slower than merging.
template <typename Made>
PIXELBRIDGE_KERNEL inline int32_t KeepingSteps(uint8_t* dst, int32_t pixels, Vec keep, Made&& made) {
  constexpr int32_t kAhead = 256;  // pixels
  const __mmask64 written = ~_mm512_movepi8_mask(keep);
  int32_t x = 0;
  for (; x + kAhead + 2 * kPixelsPerVector <= pixels; x += 2 * kPixelsPerVector) {
    const Vec a = made(x), b = made(x + kPixelsPerVector);
    __builtin_prefetch(dst + 4 * (x + kAhead), 1);
    __builtin_prefetch(dst + 4 * (x + kAhead + kPixelsPerVector), 1);
    _mm512_mask_storeu_epi8(dst + 4 * x, written, a);
    _mm512_mask_storeu_epi8(dst + 4 * (x + kPixelsPerVector), written, b);
  }
  for (; x + kPixelsPerVector <= pixels; x += kPixelsPerVector) _mm512_mask_storeu_epi8(dst + 4 * x, written, made(x));
  return x;
}
#endif

// Two vectors a step, then one. kKeeping keeps the destination's bytes where the map says:
// 64-byte vectors with masked stores, narrower ones by reading the destination and merging,
// a vector a step (two, with their reads of the destination, run slower).
template <bool kKeeping, bool kStream>
PIXELBRIDGE_KERNEL inline void FourToFourSteps(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const Vec shuffle = Pattern(p.shuffle), fill = Pattern(p.fill), keep = Pattern(p.keep);
  const auto made = [&](int32_t x) PIXELBRIDGE_KERNEL { return Or(Shuffle(Load(src + 4 * x), shuffle), fill); };
  const auto convert = [&](int32_t x) PIXELBRIDGE_KERNEL {
    return kKeeping ? Or(made(x), And(Load(dst + 4 * x), keep)) : made(x);
  };
  int32_t x = 0;
#if PIXELBRIDGE_VECTOR_BYTES == 64
  if constexpr (kKeeping) x = KeepingSteps(dst, pixels, keep, made);
#endif
  for (; !kKeeping && x + 2 * kPixelsPerVector <= pixels; x += 2 * kPixelsPerVector) {
    const Vec a = convert(x), b = convert(x + kPixelsPerVector);
    Put<kStream>(dst + 4 * x, a);
    Put<kStream>(dst + 4 * (x + kPixelsPerVector), b);
  }
  for (; x + kPixelsPerVector <= pixels; x += kPixelsPerVector) Put<kStream>(dst + 4 * x, convert(x));
#if PIXELBRIDGE_VECTOR_BYTES == 64
  if (x < pixels) {
    const int bytes = 4 * (pixels - x);
    Vec last = Or(Shuffle(LoadBytes(src + 4 * x, bytes), shuffle), fill);
    if (kKeeping) last = Or(last, And(LoadBytes(dst + 4 * x, bytes), keep));
    StoreBytes(dst + 4 * x, last, bytes);
  }
#else
  MapPixels(src + 4 * x, nullptr, dst + 4 * x, pixels - x, p.map);
#endif
}

template <bool kKeeping, Stores kStores>
PIXELBRIDGE_ROW_ENTRY void FourToFour(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels,
                                      const RowPatterns& p) {
  RunRow<4, kStores>(dst, pixels, [&](auto stream, int32_t first, int32_t count) PIXELBRIDGE_KERNEL {
    FourToFourSteps<kKeeping, decltype(stream)::value>(src + 4 * first, dst + 4 * first, count, p);
  });
}

template <bool kStream>
PIXELBRIDGE_KERNEL inline void FourToFourMaskedSteps(const uint8_t* src, const uint8_t* mask, uint8_t* dst,
                                                     int32_t pixels, const RowPatterns& p) {
  const Vec shuffle = Pattern(p.shuffle), fill = Pattern(p.fill);
  const Vec maskShuffle = Pattern(p.maskShuffle), maskFlip = Pattern(p.maskFlip);
  int32_t x = 0;
  for (; x + kPixelsPerVector <= pixels; x += kPixelsPerVector) {
    const Vec alpha = Xor(Shuffle(Load(mask + 4 * x), maskShuffle), maskFlip);
    Put<kStream>(dst + 4 * x, Or(Or(Shuffle(Load(src + 4 * x), shuffle), fill), alpha));
  }
#if PIXELBRIDGE_VECTOR_BYTES == 64
  if (x < pixels) {
    const int bytes = 4 * (pixels - x);
    const Vec alpha = Xor(Shuffle(LoadBytes(mask + 4 * x, bytes), maskShuffle), maskFlip);
    StoreBytes(dst + 4 * x, Or(Or(Shuffle(LoadBytes(src + 4 * x, bytes), shuffle), fill), alpha), bytes);
  }
#else
  MapPixels(src + 4 * x, mask + 4 * x, dst + 4 * x, pixels - x, p.map);
#endif
}

template <Stores kStores>
PIXELBRIDGE_ROW_ENTRY void FourToFourMasked(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels,
                                            const RowPatterns& p) {
  RunRow<4, kStores>(dst, pixels, [&](auto stream, int32_t first, int32_t count) PIXELBRIDGE_KERNEL {
    FourToFourMaskedSteps<decltype(stream)::value>(src + 4 * first, mask + 4 * first, dst + 4 * first, count, p);
  });
}

#if PIXELBRIDGE_VECTOR_BYTES == 64
#include "rows/x86_permute_kernels-inl.h"
#else
#include "rows/x86_pack_kernels-inl.h"
#endif

// A vector of output bytes a step: the channel of input vector j's pixels goes to group j
// (bytes 4j to 4j + 3) of each 16-byte lane, and one permute puts the groups in order.
template <bool kStream>
PIXELBRIDGE_KERNEL inline void FourToOneSteps(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  // The pattern gathers four pixels' channel into group 0 (kZeroIndex elsewhere); rotated, into group j.
  const __m128i first = Load16(p.shuffle);
  alignas(16) uint8_t rotated[4][16];
  Store16(rotated[0], first);
  Store16(rotated[1], _mm_alignr_epi8(first, first, 12));
  Store16(rotated[2], _mm_alignr_epi8(first, first, 8));
  Store16(rotated[3], _mm_alignr_epi8(first, first, 4));
  constexpr int kBytes = PIXELBRIDGE_VECTOR_BYTES;
  const Vec s0 = Pattern(rotated[0]), s1 = Pattern(rotated[1]), s2 = Pattern(rotated[2]), s3 = Pattern(rotated[3]);
  int32_t x = 0;
  for (; x + kBytes <= pixels; x += kBytes) {
    const uint8_t* s = src + 4 * x;
    const Vec low = Or(Shuffle(Load(s), s0), Shuffle(Load(s + kBytes), s1));
    const Vec high = Or(Shuffle(Load(s + 2 * kBytes), s2), Shuffle(Load(s + 3 * kBytes), s3));
    Put<kStream>(dst + x, GroupsInOrder(Or(low, high)));
  }
  // Then 16 pixels a step, which need no permute.
  const __m128i r0 = first, r1 = Load16(rotated[1]), r2 = Load16(rotated[2]), r3 = Load16(rotated[3]);
  for (; x + 16 <= pixels; x += 16) {
    const uint8_t* s = src + 4 * x;
    const __m128i low = _mm_or_si128(_mm_shuffle_epi8(Load16(s), r0), _mm_shuffle_epi8(Load16(s + 16), r1));
    const __m128i high = _mm_or_si128(_mm_shuffle_epi8(Load16(s + 32), r2), _mm_shuffle_epi8(Load16(s + 48), r3));
    Put16<kStream>(dst + x, _mm_or_si128(low, high));
  }
#if PIXELBRIDGE_VECTOR_BYTES == 64
  // Each lane's four channel bytes gathered into its first group, and the lanes' first groups
  // put in order.
  if (x < pixels) StoreBytes(dst + x, GroupsInOrder(Shuffle(LoadBytes(src + 4 * x, 4 * (pixels - x)), s0)), pixels - x);
#else
  MapPixels(src + 4 * x, nullptr, dst + x, pixels - x, p.map);
#endif
}

template <Stores kStores>
PIXELBRIDGE_ROW_ENTRY void FourToOne(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels,
                                     const RowPatterns& p) {
  RunRow<1, kStores>(dst, pixels, [&](auto stream, int32_t first, int32_t count) PIXELBRIDGE_KERNEL {
    FourToOneSteps<decltype(stream)::value>(src + 4 * first, dst + first, count, p);
  });
}

#if PIXELBRIDGE_VECTOR_BYTES == 64
// Byte permutes look gray samples up in the tables themselves.
constexpr LevelKernel kTablesRow = OneToFourTables;
#else
// Without byte permutes across the vector: one lookup per pixel in a table of pixel words.
constexpr LevelKernel kTablesRow = kGrayWordsRow;
#endif

// This level's kernel for a shape, storing as kStores says; the shapes without vector code
// run the code every level shares. The 64-byte kernels have no streaming stores: calls that
// stream run the AVX2 kernels.
template <Stores kStores>
constexpr LevelKernel KernelFor(Shape shape) {
  constexpr bool kOrdinary = kStores == Stores::kOrdinary;
  if constexpr (!kOrdinary && PIXELBRIDGE_VECTOR_BYTES == 64) {
    return {};
  } else {
    switch (shape) {
      case Shape::kFourToFour:
        return FourToFour<false, kStores>;
      case Shape::kFourToFourMasked:
        return FourToFourMasked<kStores>;
      case Shape::kFourToFourKeeping:
        return FourToFour<true, kStores>;
      case Shape::kFourToThree:
        return FourToThree<false, kStores>;
      case Shape::kFourToThreeKeeping:
        return FourToThree<true, kStores>;
      case Shape::kFourToOne:
        return FourToOne<kStores>;
      case Shape::kThreeToFour:
        return ThreeToFour<kStores>;
      case Shape::kOneToFour:
        return OneToFour<kStores>;
      case Shape::kOneToFourTables:
        return kOrdinary ? kTablesRow : LevelKernel{};
      case Shape::kGrayWords:
        return kOrdinary ? kGrayWordsRow : LevelKernel{};
      case Shape::kPlain:
        return kOrdinary ? kPlainRow : LevelKernel{};
    }
    return {};
  }
}

// The level's set, given its name by the level's file.
constexpr RowKernelSet kLevelKernels = MakeRowKernelSet(KernelFor<Stores::kOrdinary>, KernelFor<Stores::kStreaming>);

}  // namespace
