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
inline constexpr SourceLayout kARGB{4, 4, 1, 2, 3};
inline constexpr SourceLayout kABGR{4, 4, 3, 2, 1};
inline constexpr SourceLayout kBGRA{4, 4, 2, 1, 0};
inline constexpr SourceLayout kRGBA{4, 4, 0, 1, 2};
inline constexpr SourceLayout kBGR{3, 3, 2, 1, 0};
inline constexpr SourceLayout kRGB{3, 3, 0, 1, 2};
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
PixelMap PictureMap(const SourceLayout& layout, FormatGroup writer, const GrayTables* tables = nullptr);
