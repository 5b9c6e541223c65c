// The map a copy layout makes.
#include "to_memory/copy_layouts.h"

PixelMap CopyMap(const CopyLayout& layout, FormatGroup source, FormatGroup mask, int32_t alpha, int32_t pixelByteSize) {
  const PixelBytes bytes = PixelBytesOf(source);
  PixelMap map;
  map.outputStride = layout.bytesPerPixel != 0 ? layout.bytesPerPixel : pixelByteSize;
  for (int k = 0; k < map.outputBytes(); ++k) {
    switch (layout.bytes[k]) {
      case OutByte::kRed:
        map.from[k] = bytes.red;
        break;
      case OutByte::kGreen:
        map.from[k] = bytes.green;
        break;
      case OutByte::kBlue:
        map.from[k] = bytes.blue;
        break;
      case OutByte::kAlpha:
        if (mask != FormatGroup::kNone) map.maskTo = static_cast<int8_t>(k);
        else map.fill[k] = static_cast<uint8_t>(alpha);
        break;
      case OutByte::kKeep:
        map.keep[k] = 0xFF;
        break;
    }
  }
  if (mask != FormatGroup::kNone) map.maskGreen = PixelBytesOf(mask).green;
  return map;
}
