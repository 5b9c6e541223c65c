// Byte layouts that pictures are copied into, as tables of what each written byte holds,
// and the map a layout makes for a picture's format group.
#pragma once

#include <cstdint>

#include "rows/pixel_format.h"
#include "rows/pixel_map.h"

// What one byte of a written pixel holds.
enum class OutByte : uint8_t { kRed, kGreen, kBlue, kAlpha, kKeep };

// A copy layout, kept as the maps made from it at compile time: a call copies its map and adds
// its alpha or a channel's stride (made byte by byte on every call, the map cost a small
// picture's copy more than moving its pixels).
struct CopyLayout {
  uint8_t bytesPerPixel;  // 0 for single channels, whose stride is the call's PixelByteSize
  PixelMap fromGroup[3];  // from each format group's pixels (by the group's number), without alpha
  int8_t alphaAt;         // the byte alpha goes to (PixelMap::kNone: none)
};

// The layout whose written pixel is `bytes`: bytes 0 to bytesPerPixel − 1 (0 to 3 for a channel,
// whose stride the call gives), kAlpha the constant alpha or the mask's, kKeep a byte that is
// never written.
constexpr CopyLayout MakeCopyLayout(uint8_t bytesPerPixel, const OutByte (&bytes)[4]) {
  static_assert(static_cast<int>(OutByte::kAlpha) == 3 && static_cast<int>(OutByte::kKeep) == 4);
  static_assert(static_cast<int>(FormatGroup::kRowTable) == 2, "the groups with pixels are numbered 0 to 2");
  CopyLayout layout{bytesPerPixel, {}, PixelMap::kNone};
  for (int group = 0; group < 3; ++group) {
    const PixelBytes source = PixelBytesOf(static_cast<FormatGroup>(group));
    // The source byte each kind of written byte takes (alpha and kept bytes take none).
    const int8_t taken[] = {source.red, source.green, source.blue, PixelMap::kNone, PixelMap::kNone};
    PixelMap& map = layout.fromGroup[group];
    map.outputStride = bytesPerPixel != 0 ? bytesPerPixel : 4;
    for (int k = 0; k < map.outputBytes(); ++k) {
      map.from[k] = taken[static_cast<int>(bytes[k])];
      if (bytes[k] == OutByte::kKeep) map.keep[k] = 0xFF;
      if (bytes[k] == OutByte::kAlpha) layout.alphaAt = static_cast<int8_t>(k);
    }
  }
  return layout;
}

namespace copy_layouts {
using B = OutByte;
// Pixels in `order`, whose fourth byte, where it has one, is `fourth`.
constexpr CopyLayout InOrder(ByteOrder order, OutByte fourth = B::kKeep) {
  OutByte bytes[4] = {B::kKeep, B::kKeep, B::kKeep, B::kKeep};
  bytes[order.red] = B::kRed;
  bytes[order.green] = B::kGreen;
  bytes[order.blue] = B::kBlue;
  if (order.fourth != ByteOrder::kNoFourth) bytes[order.fourth] = fourth;
  return MakeCopyLayout(static_cast<uint8_t>(order.bytes()), bytes);
}
// Four bytes with alpha (constant or from a mask).
inline constexpr CopyLayout kARGB = InOrder(byte_orders::kARGB, B::kAlpha);
inline constexpr CopyLayout kABGR = InOrder(byte_orders::kABGR, B::kAlpha);
inline constexpr CopyLayout kRGBA = InOrder(byte_orders::kRGBA, B::kAlpha);
inline constexpr CopyLayout kBGRA = InOrder(byte_orders::kBGRA, B::kAlpha);
// Four bytes whose pad byte keeps what the block held.
inline constexpr CopyLayout kXRGB = InOrder(byte_orders::kARGB, B::kKeep);
inline constexpr CopyLayout kXBGR = InOrder(byte_orders::kABGR, B::kKeep);
inline constexpr CopyLayout kRGBX = InOrder(byte_orders::kRGBA, B::kKeep);
inline constexpr CopyLayout kBGRX = InOrder(byte_orders::kBGRA, B::kKeep);
// Three packed bytes.
inline constexpr CopyLayout kRGB = InOrder(byte_orders::kRGB);
inline constexpr CopyLayout kBGR = InOrder(byte_orders::kBGR);
// One byte at the start of every PixelByteSize bytes.
inline constexpr CopyLayout kR = MakeCopyLayout(0, {B::kRed, B::kKeep, B::kKeep, B::kKeep});
inline constexpr CopyLayout kG = MakeCopyLayout(0, {B::kGreen, B::kKeep, B::kKeep, B::kKeep});
inline constexpr CopyLayout kB = MakeCopyLayout(0, {B::kBlue, B::kKeep, B::kKeep, B::kKeep});
}  // namespace copy_layouts

// The map of `layout` from a picture of the `source` group (not kNone): alpha the low byte of
// `alpha`, or 255 − the green of a mask of the `mask` group (kNone: no mask); single channels
// `pixelByteSize` bytes apart.
inline PixelMap CopyMap(const CopyLayout& layout, FormatGroup source, FormatGroup mask, int32_t alpha,
                        int32_t pixelByteSize) {
  PixelMap map = layout.fromGroup[static_cast<int>(source)];
  // A channel's map keeps bytes 1 to 3; those past a shorter stride are never read.
  if (layout.bytesPerPixel == 0) map.outputStride = pixelByteSize;
  if (layout.alphaAt == PixelMap::kNone) return map;
  if (mask == FormatGroup::kNone) {
    map.fill[layout.alphaAt] = static_cast<uint8_t>(alpha);
  } else {
    map.maskTo = layout.alphaAt;
    map.maskGreen = PixelBytesOf(mask).green;
  }
  return map;
}
