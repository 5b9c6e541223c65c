// The 32 global methods that turn bytes in a memory block or at a Ptr into a picture:
// one frame per family, one instantiation per source kind and layout.
#pragma once

#include "platform/hot_path.h"
#include "to_picture/picture_frame.h"

namespace picture_methods {

// The colour frame: rows of `kLayout` pixels from the source into `dest` or a new picture.
// Flipped, picture row 0 takes the last source row.
template <typename Source, const SourceLayout& kLayout>
PIXELBRIDGE_HOT REALpictureStruct* Convert(REALpictureStruct* dest, typename Source::Handle source, int32_t offset,
                                           int32_t width, int32_t height, bool flipVertically) {
  const PictureSource from = Source::Of(source);
  if (!CheckPictureArguments(from, offset, width, height)) return nullptr;
  const int64_t pitch = int64_t{width} * kLayout.stride;
  const uint8_t* first = SourceBytes(from, offset, SourceExtent(height, pitch, 0));
  if (first == nullptr) return nullptr;
  if (flipVertically) return WritePictureRows(dest, width, height, first + (height - 1) * pitch, -pitch, kLayout);
  return WritePictureRows(dest, width, height, first, pitch, kLayout);
}

// (dest, source, offset, width, height)
template <typename Source, const SourceLayout& kLayout>
PIXELBRIDGE_HOT REALpictureStruct* WithDest(REALpictureStruct* dest, typename Source::Handle source, int32_t offset,
                                            int32_t width, int32_t height) {
  return Convert<Source, kLayout>(dest, source, offset, width, height, false);
}

// (dest, source, offset, width, height, FlipVertically)
template <typename Source, const SourceLayout& kLayout>
PIXELBRIDGE_HOT REALpictureStruct* Flippable(REALpictureStruct* dest, typename Source::Handle source, int32_t offset,
                                             int32_t width, int32_t height, signed char flipVertically) {
  return Convert<Source, kLayout>(dest, source, offset, width, height, flipVertically != 0);
}

// (source, offset, width, height[, FlipVertically]): the same with no destination.
template <typename Source, const SourceLayout& kLayout>
PIXELBRIDGE_HOT REALpictureStruct* New(typename Source::Handle source, int32_t offset, int32_t width, int32_t height) {
  return WithDest<Source, kLayout>(nullptr, source, offset, width, height);
}
template <typename Source, const SourceLayout& kLayout>
PIXELBRIDGE_HOT REALpictureStruct* NewFlippable(typename Source::Handle source, int32_t offset, int32_t width,
                                                int32_t height, signed char flipVertically) {
  return Flippable<Source, kLayout>(nullptr, source, offset, width, height, flipVertically);
}

// (source, offset, width, height, LittleEndian): ARGB words in little-endian order are
// B, G, R, A in memory.
template <typename Source>
REALpictureStruct* ArgbLittleEndian(typename Source::Handle source, int32_t offset, int32_t width, int32_t height,
                                    signed char littleEndian);

// (source, offset, width, height, PixelByteSize[, Red, Blue, Green | Red(), Blue(), Green()])
template <typename Source>
REALpictureStruct* Gray(typename Source::Handle source, int32_t offset, int32_t width, int32_t height,
                        int32_t pixelByteSize);
template <typename Source>
REALpictureStruct* GrayTint(typename Source::Handle source, int32_t offset, int32_t width, int32_t height,
                            int32_t pixelByteSize, int32_t red, int32_t blue, int32_t green);
template <typename Source>
REALpictureStruct* GrayMapped(typename Source::Handle source, int32_t offset, int32_t width, int32_t height,
                              int32_t pixelByteSize, REALarrayInteger* red, REALarrayInteger* blue,
                              REALarrayInteger* green);

}  // namespace picture_methods

namespace picture_method_names {
using namespace source_layouts;  // NOLINT: the layouts name the methods below
using picture_methods::Flippable;
using picture_methods::New;
using picture_methods::NewFlippable;
using picture_methods::WithDest;

inline constexpr auto MemoryblockARGBtoPictureQZV_dest = &WithDest<FromBlock, kARGB>;
inline constexpr auto MemoryblockABGRtoPictureQZV_dest = &WithDest<FromBlock, kABGR>;
inline constexpr auto MemoryblockBGRAtoPictureQZV_dest = &WithDest<FromBlock, kBGRA>;
inline constexpr auto MemoryblockRGBAtoPictureQZV_dest = &Flippable<FromBlock, kRGBA>;
inline constexpr auto MemoryblockBGRtoPictureQZV_dest = &WithDest<FromBlock, kBGR>;
inline constexpr auto MemoryblockRGBtoPictureQZV_dest = &WithDest<FromBlock, kRGB>;
inline constexpr auto MemoryblockARGBtoPictureQZV = &New<FromBlock, kARGB>;
inline constexpr auto MemoryblockABGRtoPictureQZV = &New<FromBlock, kABGR>;
inline constexpr auto MemoryblockBGRAtoPictureQZV = &New<FromBlock, kBGRA>;
inline constexpr auto MemoryblockRGBAtoPictureQZV = &NewFlippable<FromBlock, kRGBA>;
inline constexpr auto MemoryblockBGRtoPictureQZV = &New<FromBlock, kBGR>;
inline constexpr auto MemoryblockRGBtoPictureQZV = &New<FromBlock, kRGB>;
inline constexpr auto MemoryblockARGBtoPictureQZV_littleEndian = &picture_methods::ArgbLittleEndian<FromBlock>;
inline constexpr auto MemoryblockGrayToPictureQZV = &picture_methods::Gray<FromBlock>;
inline constexpr auto MemoryblockGrayToPictureQZV_tint = &picture_methods::GrayTint<FromBlock>;
inline constexpr auto MemoryblockGrayToPictureQZV_tables = &picture_methods::GrayMapped<FromBlock>;

inline constexpr auto PtrARGBtoPictureQZV_dest = &WithDest<FromPtr, kARGB>;
inline constexpr auto PtrABGRtoPictureQZV_dest = &WithDest<FromPtr, kABGR>;
inline constexpr auto PtrBGRAtoPictureQZV_dest = &WithDest<FromPtr, kBGRA>;
inline constexpr auto PtrRGBAtoPictureQZV_dest = &Flippable<FromPtr, kRGBA>;
inline constexpr auto PtrBGRtoPictureQZV_dest = &WithDest<FromPtr, kBGR>;
inline constexpr auto PtrRGBtoPictureQZV_dest = &WithDest<FromPtr, kRGB>;
inline constexpr auto PtrARGBtoPictureQZV = &New<FromPtr, kARGB>;
inline constexpr auto PtrABGRtoPictureQZV = &New<FromPtr, kABGR>;
inline constexpr auto PtrBGRAtoPictureQZV = &New<FromPtr, kBGRA>;
inline constexpr auto PtrRGBAtoPictureQZV = &NewFlippable<FromPtr, kRGBA>;
inline constexpr auto PtrBGRtoPictureQZV = &New<FromPtr, kBGR>;
inline constexpr auto PtrRGBtoPictureQZV = &New<FromPtr, kRGB>;
inline constexpr auto PtrARGBtoPictureQZV_littleEndian = &picture_methods::ArgbLittleEndian<FromPtr>;
inline constexpr auto PtrGrayToPictureQZV = &picture_methods::Gray<FromPtr>;
inline constexpr auto PtrGrayToPictureQZV_tint = &picture_methods::GrayTint<FromPtr>;
inline constexpr auto PtrGrayToPictureQZV_tables = &picture_methods::GrayMapped<FromPtr>;
}  // namespace picture_method_names
