// Gray sources, plain, tinted or mapped through three lookup tables: the tinted and mapped
// overloads build their tables before the rows are walked.
#include <algorithm>
#include <climits>

#include "host/exceptions.h"
#include "host/host_functions.h"
#include "to_picture/picture_methods.h"

namespace picture_methods {
namespace {

uint8_t Clamp(int64_t value) { return static_cast<uint8_t>(std::clamp<int64_t>(value, 0, 255)); }

// v × k / 256 truncated toward zero, limited to 0 to 255, for every sample v. The product
// is exact, so a factor too large for a 32-bit product still clamps by its true value.
void FillTint(uint8_t* table, int32_t k) {
  constexpr int32_t kLargestExactFactor = INT32_MAX / 255;
  if (k < -kLargestExactFactor || k > kLargestExactFactor) {
    for (int v = 0; v < 256; ++v) table[v] = Clamp(int64_t{v} * k / 256);
    return;
  }
  for (int32_t v = 0; v < 256; ++v) table[v] = static_cast<uint8_t>(std::clamp(v * k / 256, 0, 255));
}

// Entries 0 to the upper bound (at most 255) from the array, each limited to 0 to 255; the
// rest stay 0.
void FillFromArray(uint8_t* table, REALarrayInteger* array, int32_t upperBound) {
  std::fill(table, table + 256, 0);
  const int32_t last = std::min(upperBound, 255);
  if (const int32_t* elements = REALDirectArrayElements(array)) {
    for (int32_t i = 0; i <= last; ++i) table[i] = Clamp(elements[i]);
    return;
  }
  for (int32_t i = 0; i <= last; ++i) table[i] = Clamp(REALGetArrayInt(array, i));
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
  FillTint(tables.red, red);
  FillTint(tables.green, blue);
  FillTint(tables.blue, green);
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
