// The map a copy layout makes.
#include "to_memory/copy_layouts.h"

PixelMap CopyMap(const CopyLayout& layout, FormatGroup source, FormatGroup mask, int32_t alpha, int32_t pixelByteSize) {
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
