// Byte layouts that pictures are copied into, as tables of what each written byte holds,
// and the map a layout makes for a picture's format group.
#pragma once

#include <cstdint>

#include "rows/pixel_format.h"
#include "rows/pixel_map.h"

// What one byte of a written pixel holds.
enum class OutByte : uint8_t { kRed, kGreen, kBlue, kAlpha, kKeep };

struct CopyLayout {
  // How a written pixel is built: bytes 0 to bytesPerPixel − 1. kAlpha is the constant
  // alpha or the mask's, kKeep a byte that is never written.
  uint8_t bytesPerPixel;  // 0 for single channels, whose stride is the call's PixelByteSize
  OutByte bytes[4];
};

namespace copy_layouts {
using B = OutByte;
// Pixels in `order`, whose fourth byte, where it has one, is `fourth`.
constexpr CopyLayout InOrder(ByteOrder order, OutByte fourth = B::kKeep) {
  CopyLayout layout{static_cast<uint8_t>(order.bytes()), {B::kKeep, B::kKeep, B::kKeep, B::kKeep}};
  layout.bytes[order.red] = B::kRed;
  layout.bytes[order.green] = B::kGreen;
  layout.bytes[order.blue] = B::kBlue;
  if (order.fourth != ByteOrder::kNoFourth) layout.bytes[order.fourth] = fourth;
  return layout;
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
inline constexpr CopyLayout kR{0, {B::kRed, B::kKeep, B::kKeep, B::kKeep}};
inline constexpr CopyLayout kG{0, {B::kGreen, B::kKeep, B::kKeep, B::kKeep}};
inline constexpr CopyLayout kB{0, {B::kBlue, B::kKeep, B::kKeep, B::kKeep}};
}  // namespace copy_layouts

// The map of `layout` from a picture of the `source` group: alpha the low byte of `alpha`,
// or 255 − the green of a mask of the `mask` group (kNone: no mask); single channels
// `pixelByteSize` bytes apart.
inline PixelMap CopyMap(const CopyLayout& layout, FormatGroup source, FormatGroup mask, int32_t alpha,
                        int32_t pixelByteSize) {
  const PixelBytes bytes = PixelBytesOf(source);
  // The source byte each kind of written byte takes (alpha and kept bytes take none).
  const int8_t taken[] = {bytes.red, bytes.green, bytes.blue, PixelMap::kNone, PixelMap::kNone};
  static_assert(static_cast<int>(OutByte::kAlpha) == 3 && static_cast<int>(OutByte::kKeep) == 4);
  const bool masked = mask != FormatGroup::kNone;
  PixelMap map;
  map.outputStride = layout.bytesPerPixel != 0 ? layout.bytesPerPixel : pixelByteSize;
  const int written = map.outputBytes();
  for (int k = 0; k < written; ++k) {
    const OutByte byte = layout.bytes[k];
    map.from[k] = taken[static_cast<int>(byte)];
    if (byte == OutByte::kKeep) map.keep[k] = 0xFF;
    if (byte == OutByte::kAlpha && masked) map.maskTo = static_cast<int8_t>(k);
    if (byte == OutByte::kAlpha && !masked) map.fill[k] = static_cast<uint8_t>(alpha);
  }
  if (masked) map.maskGreen = PixelBytesOf(mask).green;
  return map;
}
