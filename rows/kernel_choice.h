// Which kernel a call runs, at which level and with which stores: per processor family, the
// entries of the shape list (row_shape_list.h), and when calls are large enough to store
// around the caches.
#pragma once

#include "platform/cpu.h"
#include "rows/pixel_map.h"
#include "rows/row_kernels.h"

struct ShapeChoice {
  SimdLevel level;  // in the table: the widest level the shape may run at
  bool streams;     // calls that move more than the last-level cache holds store around it
};

struct KernelTable {
  ShapeChoice shapes[kShapeCount];
  const ShapeChoice& operator[](Shape shape) const { return shapes[static_cast<int>(shape)]; }
};

struct FamilyChoices {
  const char* family;  // for people: "AMD family 25 (Zen 3, Zen 4)"
  KernelTable table;
};

// The table's row for a processor.
const FamilyChoices& ChoicesFor(const Processor& processor);
// That row for a processor of `level`: each shape at most at that level, or with `held`
// every shape at it.
KernelTable KernelTableFor(const FamilyChoices& choices, SimdLevel level, bool held);
// What calls on this processor run: its row at its level, or every shape at the held level;
// with a row held, that row at the held level (or this processor's), each shape at most there.
KernelTable ActiveKernelTable();
// Row `index` of the table (0: any other processor, then the families this build has rows
// for), or null past the last.
const FamilyChoices* KernelTableRow(int index);
// A test seam: calls choose as a processor of `row` would (null: this processor's own row).
void HoldKernelTableRow(const FamilyChoices* row);

// The bytes a call of `pixels` pixels reads and writes (saturating at INT64_MAX), without a
// division: every call asks.
inline int64_t BytesMoved(const PixelMap& map, int64_t pixels) {
  const int64_t perPixel =
      int64_t{map.inputStride} + map.outputStride + (map.maskTo != PixelMap::kNone ? kMaskBytesPerPixel : 0);
  int64_t bytes = 0;
  return __builtin_mul_overflow(pixels, perPixel, &bytes) ? INT64_MAX : bytes;
}
// Calls that read and write at least this many bytes in all may store around the caches:
// they pass more through the last-level cache than it holds, so little of what they wrote
// would still be there to read next, and streaming spares reading every destination line
// first. INT64_MAX where the cache's size is unknown.
int64_t StreamingStoresFrom();
// Sets that size (a test seam: 0 makes every call stream, −1 restores the default).
void SetStreamingStoresFrom(int64_t bytes);

// What besides its map decides the kernel of a call that moves `bytesMoved` in all: the row
// and level the table is held to (none: this processor's own), and whether the call is large
// enough to store around the caches.
struct ChoiceKey {
  const FamilyChoices* row;
  int held;
  bool large;
  bool operator==(const ChoiceKey& other) const {
    return row == other.row && held == other.held && large == other.large;
  }
};
ChoiceKey ActiveChoiceKey(int64_t bytesMoved);

// A kernel looked up: its level, the way it stores, the kernel itself (null where the level
// has none for the shape that stores so) and what it reads.
struct KernelPick {
  SimdLevel level;
  Stores stores;
  RowKernel kernel;
  RowReads reads;
};
// The kernel of `level` for `shape` that stores as `stores`.
KernelPick KernelOf(SimdLevel level, Stores stores, Shape shape);
// The kernel a call of `shape` runs, as `choice` says, for a call that moves `bytesMoved` in
// all: the level and way of storing, and the kernel found with them.
KernelPick PickKernel(Shape shape, const ShapeChoice& choice, int64_t bytesMoved);
