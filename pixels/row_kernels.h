// Byte-shuffle row primitives behind every fast conversion: a layout is a byte map, turned
// once per call into shuffle patterns that one kernel per shape runs on a whole row.
#pragma once

#include <cstdint>

#include "platform/cpu.h"

// How one output pixel is made from one input pixel (and a mask pixel).
struct PixelMap {
  static constexpr int8_t kNone = -1;
  int8_t inputBytes = 4;                          // 4, 3 for packed input, 1 for a sample
  int8_t outputBytes = 4;                         // 4, 3 for packed output, 1 for a channel
  int8_t from[4] = {kNone, kNone, kNone, kNone};  // the input byte of each output byte
  uint8_t fill[4] = {};                           // ORed into each output byte (alpha, opaque filler)
  uint8_t keep[4] = {};                           // 0xFF where the destination's byte stays as it was
  int8_t maskGreen = kNone;                       // mask layouts: the mask pixel's green byte…
  int8_t maskTo = kNone;                          // …becomes 255 − green at this output byte
};

// Sixty-four pixels of `in` bytes converted to `out` bytes fill `out` 64-byte vectors;
// output vector k takes its bytes from input vectors PairFirst(k) and PairFirst(k) + 1.
constexpr int PairFirst(int k, int in, int out) { return k * 64 / out * in / 64; }

// The map as 16-byte patterns for four pixels at a time, and 64-byte ones for sixteen.
struct alignas(64) RowPatterns {
  uint8_t shuffle[16];  // four pixels: output byte ← input byte (0x80: zero)
  uint8_t fill[16];
  uint8_t keep[16];
  uint8_t maskShuffle[16];  // the mask's green to its output byte, 0x80 elsewhere
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
  PixelMap map;  // for the last few pixels of a row
  // Set per call, not kept with the patterns: the call moves more than the last-level
  // cache holds, so the kernels store around the caches (16- and 32-byte kernels, but
  // not those that keep destination bytes: they read every line they store).
  bool streamStores;
};

// Fills in the patterns that the kernels of `level` read.
void BuildRowPatterns(const PixelMap& map, SimdLevel level, RowPatterns* patterns);

using RowKernel = void (*)(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& patterns);
using MaskRowKernel = void (*)(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels,
                               const RowPatterns& patterns);

// Gray samples one byte apart through a table per output byte: byte k of a pixel is
// table[k][sample] (0 where table[k] is null) ORed with fill[k].
struct ByteTables {
  const uint8_t* table[4];
  uint8_t fill[4];
};
// Converts whole steps from the start of a row and gives the pixels done; the caller
// converts the rest.
using TableRowKernel = int32_t (*)(const uint8_t* src, uint8_t* dst, int32_t pixels, const ByteTables& tables);

// One kernel per shape of map. Every kernel handles any pixel count and alignment and
// touches no byte outside its row: the last pixels run through the scalar form.
struct RowKernelSet {
  RowKernel fourToFour;            // 4 → 4 bytes
  RowKernel fourToFourKeeping;     // 4 → 4, some destination bytes kept
  MaskRowKernel fourToFourMasked;  // 4 → 4 with one byte from the mask
  RowKernel fourToThree;           // 4 → 3, packed
  RowKernel fourToThreeKeeping;    // 4 → 3, some destination bytes kept
  RowKernel fourToOne;             // 4 → 1, one channel
  RowKernel threeToFour;           // 3 → 4
  RowKernel oneToFour;             // 1 → 4: a sample to every byte that maps from it
  TableRowKernel oneToFourTables;  // 1 → 4 through tables; null where lookups don't pay
};

// The kernels of a level; each level's set falls back to the level below where it has
// nothing better. RowKernels() is the set of the active level.
const RowKernelSet& RowKernelsFor(SimdLevel level);
const RowKernelSet& RowKernels();
// The kernels of a call at `level` whose stores go around the caches or not. Such calls are
// bound by memory, and run with vectors of 32 bytes at most, whose kernels have those stores.
const RowKernelSet& RowKernelsFor(SimdLevel level, bool streamStores);
// Whether a call at `level` that reads and writes `bytesMoved` in all stores around the caches.
bool StreamsStores(SimdLevel level, int64_t bytesMoved);

// The scalar forms, one pixel at a time by the map.
void MapPixels(const uint8_t* src, uint8_t* dst, int32_t pixels, const PixelMap& map);
void MapMaskedPixels(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const PixelMap& map);
