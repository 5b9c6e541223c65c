// The one description of a conversion: how each output pixel is made from one input pixel
// (and a mask pixel), what shape of kernel that takes, and the plain row that defines it.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "rows/pixel_format.h"
#include "rows/row_shape_enum.h"

// Output pixel x starts outputStride × x bytes into the row and is made from the input pixel
// inputStride × x bytes in, of which only the first inputBytes are sure to be there (a gray
// sample's first byte; the last sample's others may lie past the source). Its bytes 0 to 3
// (fewer when outputStride is smaller) are each
//   table[k][taken] (or taken, without a table) | fill[k] | (the old byte & keep[k])
// where taken is input byte from[k] (0 for kNone); the byte maskTo also takes 255 − the
// mask pixel's byte maskGreen (mask pixels are kMaskBytesPerPixel bytes). Bytes past the
// fourth are left alone.
struct PixelMap {
  static constexpr int8_t kNone = -1;
  // A picture's pixels unless set otherwise.
  int32_t inputStride = kPictureBytesPerPixel;   // 4, 3 for packed pixels, any for gray samples
  int32_t outputStride = kPictureBytesPerPixel;  // 4, 3 for packed pixels, any for a channel
  int8_t inputBytes = kPictureBytesPerPixel;     // 4, 3, or 1 for gray samples
  int8_t from[4] = {kNone, kNone, kNone, kNone};
  uint8_t fill[4] = {};  // alpha, an opaque filler
  uint8_t keep[4] = {};  // 0xFF where the destination's byte stays as it was
  int8_t maskGreen = kNone;
  int8_t maskTo = kNone;
  int8_t unused = 0;             // fills what would be padding: two maps compare as bytes
  const uint8_t* table[4] = {};  // 256 entries each: gray through tints or tables

  constexpr int outputBytes() const { return outputStride < 4 ? outputStride : 4; }
  bool operator==(const PixelMap& other) const { return SameBytes(this, &other); }
  // Whether the maps' bytes at `a` and `b` are the same: eight at a time, as the library's
  // comparison isn't always inlined and a map is compared on every call.
  static bool SameBytes(const void* a, const void* b) {
    uint64_t differ = 0;
#pragma GCC unroll 8
    for (size_t at = 0; at < sizeof(PixelMap); at += 8) {
      uint64_t left, right;
      memcpy(&left, static_cast<const char*>(a) + at, 8);
      memcpy(&right, static_cast<const char*>(b) + at, 8);
      differ |= left ^ right;
    }
    return differ == 0;
  }
};
static_assert(std::has_unique_object_representations_v<PixelMap> && sizeof(PixelMap) % 8 == 0,
              "a map's bytes are its fields, eight at a time");

// Every byte value in order: the table of a byte that goes through none.
struct ByteTable {
  uint8_t values[256];
};
inline constexpr ByteTable kIdentityTable = [] {
  ByteTable identity{};
  for (int v = 0; v < 256; ++v) identity.values[v] = static_cast<uint8_t>(v);
  return identity;
}();

// The shape of kernel that runs the map.
Shape ShapeOf(const PixelMap& map);

// The plain row, pixel by pixel: the definition every kernel is tested against. `mask` is
// read only by maps with maskTo.
void MapPixels(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const PixelMap& map);
