// Gray sources, plain, tinted or mapped through three lookup tables: the tinted and mapped
// overloads build their tables before the rows are walked.
#include <algorithm>

#include "host/exceptions.h"
#include "host/host_functions.h"
#include "rows/gray_tables.h"
#include "to_picture/picture_methods.h"

namespace picture_methods {
namespace {

// Entries 0 to the upper bound (at most 255) from the array, each limited to 0 to 255; the
// rest stay 0.
void FillFromArray(uint8_t* table, REALarrayInteger* array, int32_t upperBound) {
  const int32_t count = std::min(upperBound, 255) + 1;
  if (const int32_t* elements = REALDirectArrayElements(array)) return MakeClampedTable(elements, count, table);
  std::fill(table, table + 256, 0);
  for (int32_t i = 0; i < count; ++i) table[i] = static_cast<uint8_t>(std::clamp(REALGetArrayInt(array, i), 0, 255));
}

// A nil array has no elements; the host isn't asked about it. Nor are elements read from an
// array whose bound the host can't tell: it may have none.
int32_t UpperBound(REALarrayInteger* array) {
  return array != nullptr && REALGetArrayUBound.Resolve() != nullptr ? REALGetArrayUBound(array) : -1;
}

// The checks every gray overload makes before its tables: null when the call ends there.
template <typename Source>
const uint8_t* GraySource(typename Source::Handle source, int32_t offset, int32_t width, int32_t height,
                          int32_t pixelByteSize) {
  const PictureSource from = Source::Of(source);
  if (!CheckPictureArguments(from, offset, width, height)) return nullptr;
  if (pixelByteSize < 1) return RaiseException(kUnsupportedOperationException, kPixelByteSizeTooSmall), nullptr;
  // The last byte read is the first byte of the last sample.
  return SourceBytes(from, offset, SourceExtent(int64_t{width} * height - 1, pixelByteSize, 1));
}

REALpictureStruct* WriteGray(const uint8_t* first, int32_t width, int32_t height, int32_t pixelByteSize,
                             const GrayTables* tables) {
  return WritePictureRows(nullptr, width, height, first, int64_t{width} * pixelByteSize,
                          source_layouts::Gray(pixelByteSize), tables);
}

}  // namespace

template <typename Source>
REALpictureStruct* Gray(typename Source::Handle source, int32_t offset, int32_t width, int32_t height,
                        int32_t pixelByteSize) {
  const uint8_t* first = GraySource<Source>(source, offset, width, height, pixelByteSize);
  if (first == nullptr) return nullptr;
  return WriteGray(first, width, height, pixelByteSize, nullptr);
}

// The factors go to red, green and blue in the order declared, whatever their names say.
template <typename Source>
REALpictureStruct* GrayTint(typename Source::Handle source, int32_t offset, int32_t width, int32_t height,
                            int32_t pixelByteSize, int32_t red, int32_t blue, int32_t green) {
  const uint8_t* first = GraySource<Source>(source, offset, width, height, pixelByteSize);
  if (first == nullptr) return nullptr;
  GrayTables tables;
  MakeTintTable(red, tables.red);
  MakeTintTable(blue, tables.green);
  MakeTintTable(green, tables.blue);
  return WriteGray(first, width, height, pixelByteSize, &tables);
}

// Likewise the arrays: the first maps red, the second green, the third blue.
template <typename Source>
REALpictureStruct* GrayMapped(typename Source::Handle source, int32_t offset, int32_t width, int32_t height,
                              int32_t pixelByteSize, REALarrayInteger* red, REALarrayInteger* blue,
                              REALarrayInteger* green) {
  const uint8_t* first = GraySource<Source>(source, offset, width, height, pixelByteSize);
  if (first == nullptr) return nullptr;
  const int32_t bounds[3] = {UpperBound(red), UpperBound(blue), UpperBound(green)};
  GrayTables tables;
  FillFromArray(tables.red, red, bounds[0]);
  FillFromArray(tables.green, blue, bounds[1]);
  FillFromArray(tables.blue, green, bounds[2]);
  return WriteGray(first, width, height, pixelByteSize, &tables);
}

#define PIXELBRIDGE_INSTANTIATE(Source)                                                                              \
  template REALpictureStruct* Gray<Source>(Source::Handle, int32_t, int32_t, int32_t, int32_t);                      \
  template REALpictureStruct* GrayTint<Source>(Source::Handle, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, \
                                               int32_t);                                                             \
  template REALpictureStruct* GrayMapped<Source>(Source::Handle, int32_t, int32_t, int32_t, int32_t,                 \
                                                 REALarrayInteger*, REALarrayInteger*, REALarrayInteger*);
PIXELBRIDGE_INSTANTIATE(FromBlock)
PIXELBRIDGE_INSTANTIATE(FromPtr)
#undef PIXELBRIDGE_INSTANTIATE

}  // namespace picture_methods
