// Byte-shuffle row kernels behind every fast conversion: a map is turned once per call into
// shuffle patterns that one kernel per shape runs on a whole row.
#pragma once

#include <cstdint>

#include "platform/cpu.h"
#include "rows/pixel_map.h"

// A shuffle or lookup index that makes its byte 0: x86 byte shuffles zero a byte whose index
// has its top bit set, and NEON's lookups give 0 for an index past their table.
constexpr uint8_t kZeroIndex = 0x80;

// Pixels of `in` bytes converted to `out` bytes, kVectorBytes pixels a step (64 with AVX-512's
// byte permutes, 16 with NEON's lookups), fill `out` vectors of kVectorBytes: output vector k
// takes its bytes from input vectors PairFirst(k) and PairFirst(k) + 1 of the step.
template <int kVectorBytes>
constexpr int PairFirst(int k, int in, int out) {
  return k * kVectorBytes / out * in / kVectorBytes;
}

// What the kernels of a call read: the map as 16-byte patterns for four pixels at a time and
// 64-byte ones for sixteen and sixty-four, and for gray through pixel words, the words (kept
// by the call beside it).
struct alignas(64) RowPatterns {
  uint8_t shuffle[16];  // four pixels: output byte ← input byte (kZeroIndex: zero)
  uint8_t fill[16];
  uint8_t keep[16];
  uint8_t maskShuffle[16];  // the mask's green to its output byte, kZeroIndex elsewhere
  uint8_t maskFlip[16];     // 0xFF at that byte: green becomes 255 − green
  uint8_t wide[64];         // 16 pixels at once: output byte ← input byte, across the vector
  uint8_t wideFill[64];
  uint8_t wideKeep[64];
  uint64_t wideTaken;  // bit i: output byte i takes an input byte (byte permutes can't zero)
  // Sixty-four pixels at once: output vector k's bytes as indexes 0 to 127 across the
  // pair of input vectors it spans.
  uint8_t pair[4][64];
  uint8_t pairFill[4][64];
  uint8_t pairKeep[4][64];
  uint64_t pairTaken[4];
  PixelMap map;                     // for the last few pixels of a row, and the kernels that read no pattern
  const uint32_t* words = nullptr;  // gray through pixel words: the finished pixel of every sample
};

// Fills in the patterns that the shuffle kernels of `level` read, and the map (no words).
void BuildRowPatterns(const PixelMap& map, SimdLevel level, RowPatterns* patterns);
// The finished pixel of every sample, for maps of gray samples.
void MakePixelWords(const PixelMap& map, uint32_t* words);

using RowKernel = void (*)(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels,
                           const RowPatterns& patterns);

// The kernels every level shares: the plain row (MapPixels), and gray samples through a
// table of pixel words, one lookup a pixel.
void PlainRow(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const RowPatterns& patterns);
void GrayWordsRow(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const RowPatterns& patterns);

// How a kernel stores: the ordinary way, or from the first vector boundary of the
// destination on (the pixels before it the ordinary way) around the caches, fenced so that
// every byte is in place when the call returns.
enum class Stores : uint8_t { kOrdinary, kStreaming };
constexpr int kStoreKinds = 2;

// A level's kernels, per way of storing and shape; null where the level has no such kernel.
// Every kernel handles any pixel count and alignment and touches no byte outside its row.
struct RowKernelSet {
  RowKernel kernels[kStoreKinds][kShapeCount];
  RowReads reads[kShapeCount];  // what the level's kernels of each shape read
  RowKernel operator()(Stores stores, Shape shape) const {
    return kernels[static_cast<int>(stores)][static_cast<int>(shape)];
  }
};
// A level's kernel for a shape: one of the shape's own, which reads what the shape's record
// says, or one that every level shares, which reads what it needs; none where made empty.
struct LevelKernel {
  constexpr LevelKernel() = default;
  constexpr LevelKernel(RowKernel own) : run(own), exists(true) {}  // NOLINT: converts from the shape's own
  constexpr LevelKernel(RowKernel shared, RowReads needs) : run(shared), reads(needs), exists(true), shared(true) {}
  RowKernel run = nullptr;
  RowReads reads = RowReads::kMap;
  // A flag, not `run != nullptr`: the sanitizer build doesn't take that as a constant.
  bool exists = false;
  bool shared = false;
};
inline constexpr LevelKernel kPlainRow{PlainRow, RowReads::kMap};
inline constexpr LevelKernel kGrayWordsRow{GrayWordsRow, RowReads::kWords};

// A level's set from its kernel for each shape, storing the ordinary way and streaming (a
// function of the shape: a switch over every shape, so that the build fails on a shape left
// out). Every shape has an ordinary kernel at every level.
constexpr RowKernelSet MakeRowKernelSet(LevelKernel (*ordinary)(Shape), LevelKernel (*streaming)(Shape)) {
  RowKernelSet set{};
  for (int index = 0; index < kShapeCount; ++index) {
    const Shape shape = static_cast<Shape>(index);
    const LevelKernel kernel = ordinary(shape);
    if (!kernel.exists) throw "a shape without an ordinary kernel";
    set.kernels[0][index] = kernel.run;
    set.kernels[1][index] = streaming(shape).run;
    set.reads[index] = kernel.shared ? kernel.reads : ReadsOf(shape);
  }
  return set;
}
constexpr LevelKernel NoKernel(Shape) { return {}; }
const RowKernelSet& RowKernelsFor(SimdLevel level);
