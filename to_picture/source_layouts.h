// Source layouts that pictures are made from, and the map a layout makes for the picture's
// format group.
#pragma once

#include <cstdint>

#include "rows/pixel_format.h"
#include "rows/pixel_map.h"

// Where red, green and blue sit in a source pixel of `bytes` bytes, `stride` bytes from the
// next: colour pixels back to back, or gray samples, whose first byte is all three.
struct SourceLayout {
  int32_t stride;
  int8_t bytes;
  int8_t red, green, blue;
};

namespace source_layouts {
// Pixels in `order`, back to back.
constexpr SourceLayout InOrder(ByteOrder order) {
  return {order.bytes(), order.bytes(), order.red, order.green, order.blue};
}
inline constexpr SourceLayout kARGB = InOrder(byte_orders::kARGB);
inline constexpr SourceLayout kABGR = InOrder(byte_orders::kABGR);
inline constexpr SourceLayout kBGRA = InOrder(byte_orders::kBGRA);
inline constexpr SourceLayout kRGBA = InOrder(byte_orders::kRGBA);
inline constexpr SourceLayout kBGR = InOrder(byte_orders::kBGR);
inline constexpr SourceLayout kRGB = InOrder(byte_orders::kRGB);
inline constexpr SourceLayout Gray(int32_t pixelByteSize) { return {pixelByteSize, 1, 0, 0, 0}; }
}  // namespace source_layouts

// Three 256-entry tables that map a gray sample to red, green and blue.
struct GrayTables {
  uint8_t red[256];
  uint8_t green[256];
  uint8_t blue[256];
};

// The map of `layout` into an opaque pixel of the `writer` group, each channel through its
// table when there are `tables`.
inline PixelMap PictureMap(const SourceLayout& layout, FormatGroup writer, const GrayTables* tables = nullptr) {
  const PixelBytes bytes = PixelBytesOf(writer);
  PixelMap map;
  map.inputStride = layout.stride;
  map.inputBytes = layout.bytes;
  map.from[bytes.red] = layout.red;
  map.from[bytes.green] = layout.green;
  map.from[bytes.blue] = layout.blue;
  map.fill[bytes.fourth] = bytes.opaque;
  if (tables != nullptr) {
    map.table[bytes.red] = tables->red;
    map.table[bytes.green] = tables->green;
    map.table[bytes.blue] = tables->blue;
  }
  return map;
}
