// The plain row and the shape of a map.
#include "rows/pixel_map.h"

namespace {
// The row for output pixels of kBytes bytes (or more, whose bytes past the fourth stay), with
// what holds for the whole row settled once: whether bytes go through tables (kLooked) and
// keep destination bits (kKept), and per byte the input byte taken (byte 0, masked to
// nothing, where none is) and the table (the values as they are, where none is).
template <int kBytes, bool kLooked, bool kKept>
void MapRow(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const PixelMap& map) {
  int8_t from[kBytes];
  uint8_t taken[kBytes], fill[kBytes], keep[kBytes];
  const uint8_t* table[kBytes];
  // Every loop over a pixel's bytes unrolled: a call on a small picture, and the last pixels
  // of every row, spend their time here.
#pragma GCC unroll 4
  for (int k = 0; k < kBytes; ++k) {
    from[k] = map.from[k] == PixelMap::kNone ? 0 : map.from[k];
    taken[k] = map.from[k] == PixelMap::kNone ? 0 : 0xFF;
    table[k] = map.table[k] != nullptr ? map.table[k] : kIdentityTable.values;
    fill[k] = map.fill[k], keep[k] = map.keep[k];
  }
  const int8_t maskTo = map.maskTo, maskGreen = map.maskGreen;
  const int32_t inputStride = map.inputStride, outputStride = map.outputStride;
  for (int32_t x = 0; x < pixels; ++x) {
#pragma GCC unroll 4
    for (int k = 0; k < kBytes; ++k) {
      uint8_t byte = src[from[k]] & taken[k];
      if (kLooked) byte = table[k][byte];
      byte |= fill[k];
      if (kKept) byte |= dst[k] & keep[k];
      dst[k] = byte;
    }
    if (maskTo != PixelMap::kNone) {
      dst[maskTo] = static_cast<uint8_t>(dst[maskTo] | (255 - mask[maskGreen]));
      mask += kMaskBytesPerPixel;
    }
    src += inputStride;
    dst += outputStride;
  }
}

template <int kBytes>
void MapRow(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const PixelMap& map) {
  bool looked = false, kept = false;
#pragma GCC unroll 4
  for (int k = 0; k < kBytes; ++k) looked |= map.table[k] != nullptr, kept |= map.keep[k] != 0;
  if (looked)
    return kept ? MapRow<kBytes, true, true>(src, mask, dst, pixels, map)
                : MapRow<kBytes, true, false>(src, mask, dst, pixels, map);
  if (kept) return MapRow<kBytes, false, true>(src, mask, dst, pixels, map);
  MapRow<kBytes, false, false>(src, mask, dst, pixels, map);
}
}  // namespace

void MapPixels(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels, const PixelMap& map) {
  switch (map.outputBytes()) {
    case 1:
      return MapRow<1>(src, mask, dst, pixels, map);
    case 2:
      return MapRow<2>(src, mask, dst, pixels, map);
    case 3:
      return MapRow<3>(src, mask, dst, pixels, map);
    default:
      return MapRow<4>(src, mask, dst, pixels, map);
  }
}

Shape ShapeOf(const PixelMap& map) {
  const int bytes = map.outputBytes();
  bool kept = false, tables = false, fromSample = true, lookups = true;
  for (int k = 0; k < bytes; ++k) {
    kept |= map.keep[k] != 0;
    tables |= map.table[k] != nullptr;
    fromSample &= map.from[k] == 0 || map.from[k] == PixelMap::kNone;
    lookups &= (map.table[k] != nullptr) == (map.from[k] == 0);
  }
  // Vector kernels load whole input pixels.
  const int in = map.inputBytes == map.inputStride ? map.inputStride : 0, out = map.outputStride;
  if (map.maskTo != PixelMap::kNone)
    return in == 4 && out == 4 && !kept && !tables ? Shape::kFourToFourMasked : Shape::kPlain;
  if (in == 4 && !tables) {
    if (out == 4) return kept ? Shape::kFourToFourKeeping : Shape::kFourToFour;
    if (out == 3) return kept ? Shape::kFourToThreeKeeping : Shape::kFourToThree;
    if (out == 1 && !kept && map.fill[0] == 0 && map.from[0] != PixelMap::kNone) return Shape::kFourToOne;
  }
  if (in == 3 && out == 4 && !kept && !tables) return Shape::kThreeToFour;
  if (out == 4 && !kept && fromSample) {
    if (in != 1) return Shape::kGrayWords;  // samples at a stride
    if (!tables) return Shape::kOneToFour;
    return lookups ? Shape::kOneToFourTables : Shape::kGrayWords;
  }
  return Shape::kPlain;
}
