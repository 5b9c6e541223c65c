// The pixels of an open picture: every one 32 bits, in one of the formats below, which the
// conversion code knows by three groups. Free of the host, like the conversions that use it.
#pragma once

#include <cstdint>

#include "rows/byte_orders.h"

// Every picture pixel is four bytes: 32 bits, the depth of the pictures the plug-in opens
// and makes.
constexpr int32_t kPictureBytesPerPixel = 4;
constexpr int32_t kPictureBitsPerPixel = 8 * kPictureBytesPerPixel;
// A mask is a picture: its pixels are a picture's.
constexpr int32_t kMaskBytesPerPixel = kPictureBytesPerPixel;

// Pixel format codes. 1 to 6 are a bitmap context's alpha info (its low three bits, as
// FormatCodeOf takes them); 8 is a true-colour image reached through its row table.
enum PixelFormatCode : int32_t {
  kFormatPremultipliedLast = 1,   // R, G, B, A (premultiplied)
  kFormatPremultipliedFirst = 2,  // A, R, G, B (premultiplied)
  kFormatAlphaLast = 3,           // R, G, B, A
  kFormatAlphaFirst = 4,          // A, R, G, B
  kFormatSkipLast = 5,            // R, G, B, filler
  kFormatSkipFirst = 6,           // filler, R, G, B
  kFormatRowTable = 8,            // B, G, R, alpha (0 opaque), rows through a row table
};

constexpr int32_t FormatCodeOf(uint32_t alphaInfo) { return static_cast<int32_t>(alphaInfo & 7); }

// The three groups the conversion loops are written for: where alpha (or the filler) sits.
enum class FormatGroup { kAlphaLast, kAlphaFirst, kRowTable, kNone };

constexpr FormatGroup GroupOf(int32_t format) {
  switch (format) {
    case kFormatPremultipliedLast:
    case kFormatAlphaLast:
    case kFormatSkipLast:
      return FormatGroup::kAlphaLast;
    case kFormatPremultipliedFirst:
    case kFormatAlphaFirst:
    case kFormatSkipFirst:
      return FormatGroup::kAlphaFirst;
    case kFormatRowTable:
      return FormatGroup::kRowTable;
    default:
      return FormatGroup::kNone;
  }
}

// The byte order of a pixel of each group, whose fourth byte is alpha or a filler, and what
// that byte holds in an opaque pixel.
struct PixelBytes : ByteOrder {
  uint8_t opaque;
};
constexpr PixelBytes PixelBytesOf(FormatGroup group) {
  switch (group) {
    case FormatGroup::kAlphaFirst:
      return {byte_orders::kARGB, 0xFF};
    case FormatGroup::kRowTable:  // alpha 0 is opaque there
      return {byte_orders::kBGRA, 0};
    default:
      return {byte_orders::kRGBA, 0xFF};
  }
}
