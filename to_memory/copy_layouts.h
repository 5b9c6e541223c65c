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
// Four bytes with alpha (constant or from a mask).
inline constexpr CopyLayout kARGB{4, {B::kAlpha, B::kRed, B::kGreen, B::kBlue}};
inline constexpr CopyLayout kABGR{4, {B::kAlpha, B::kBlue, B::kGreen, B::kRed}};
inline constexpr CopyLayout kRGBA{4, {B::kRed, B::kGreen, B::kBlue, B::kAlpha}};
inline constexpr CopyLayout kBGRA{4, {B::kBlue, B::kGreen, B::kRed, B::kAlpha}};
// Four bytes whose pad byte keeps what the block held.
inline constexpr CopyLayout kXRGB{4, {B::kKeep, B::kRed, B::kGreen, B::kBlue}};
inline constexpr CopyLayout kXBGR{4, {B::kKeep, B::kBlue, B::kGreen, B::kRed}};
inline constexpr CopyLayout kRGBX{4, {B::kRed, B::kGreen, B::kBlue, B::kKeep}};
inline constexpr CopyLayout kBGRX{4, {B::kBlue, B::kGreen, B::kRed, B::kKeep}};
// Three packed bytes.
inline constexpr CopyLayout kRGB{3, {B::kRed, B::kGreen, B::kBlue, B::kKeep}};
inline constexpr CopyLayout kBGR{3, {B::kBlue, B::kGreen, B::kRed, B::kKeep}};
// One byte at the start of every PixelByteSize bytes.
inline constexpr CopyLayout kR{0, {B::kRed, B::kKeep, B::kKeep, B::kKeep}};
inline constexpr CopyLayout kG{0, {B::kGreen, B::kKeep, B::kKeep, B::kKeep}};
inline constexpr CopyLayout kB{0, {B::kBlue, B::kKeep, B::kKeep, B::kKeep}};
}  // namespace copy_layouts

// The map of `layout` from a picture of the `source` group: alpha the low byte of `alpha`,
// or 255 − the green of a mask of the `mask` group (kNone: no mask); single channels
// `pixelByteSize` bytes apart.
PixelMap CopyMap(const CopyLayout& layout, FormatGroup source, FormatGroup mask, int32_t alpha, int32_t pixelByteSize);
