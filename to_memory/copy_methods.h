// The 18 methods of "Picture" that copy its lines into a memory block: one frame, one
// instantiation per layout.
#pragma once

#include "platform/hot_path.h"
#include "to_memory/copy_frame.h"

namespace copy_methods {

// (offset, AlphaValue, StartLine, EndLine, Yield, DestRowBytes)
template <const CopyLayout& kLayout>
PIXELBRIDGE_HOT bool WithAlpha(REALpictureStruct* picture, REALmemoryBlockStruct* destination, int32_t offset,
                               int32_t alphaValue, int32_t startLine, int32_t endLine, int32_t yield,
                               int32_t destRowBytes) {
  CopyRequest request{picture, destination, offset, startLine, endLine, yield, destRowBytes, &kLayout};
  request.alpha = alphaValue;
  return CopyPictureLines(request);
}

// (offset, MaskForAlpha, StartLine, EndLine, Yield, DestRowBytes)
template <const CopyLayout& kLayout, bool kMaskCheckedFirst = false>
PIXELBRIDGE_HOT bool WithMask(REALpictureStruct* picture, REALmemoryBlockStruct* destination, int32_t offset,
                              REALpictureStruct* maskForAlpha, int32_t startLine, int32_t endLine, int32_t yield,
                              int32_t destRowBytes) {
  CopyRequest request{picture, destination, offset, startLine, endLine, yield, destRowBytes, &kLayout};
  request.withMask = true;
  request.mask = maskForAlpha;
  request.maskCheckedFirst = kMaskCheckedFirst;
  return CopyPictureLines(request);
}

// (offset, StartLine, EndLine, Yield, DestRowBytes)
template <const CopyLayout& kLayout>
PIXELBRIDGE_HOT bool WithoutAlpha(REALpictureStruct* picture, REALmemoryBlockStruct* destination, int32_t offset,
                                  int32_t startLine, int32_t endLine, int32_t yield, int32_t destRowBytes) {
  return CopyPictureLines({picture, destination, offset, startLine, endLine, yield, destRowBytes, &kLayout});
}

// (offset, PixelByteSize, StartLine, EndLine, Yield, DestRowBytes)
template <const CopyLayout& kLayout>
PIXELBRIDGE_HOT bool Channel(REALpictureStruct* picture, REALmemoryBlockStruct* destination, int32_t offset,
                             int32_t pixelByteSize, int32_t startLine, int32_t endLine, int32_t yield,
                             int32_t destRowBytes) {
  CopyRequest request{picture, destination, offset, startLine, endLine, yield, destRowBytes, &kLayout};
  request.pixelByteSize = pixelByteSize;
  return CopyPictureLines(request);
}

}  // namespace copy_methods

namespace copy_method_names {
using namespace copy_layouts;  // NOLINT: the layouts name the methods below

inline constexpr auto CopyARGBtoMemoryblockQZV = &copy_methods::WithAlpha<kARGB>;
inline constexpr auto CopyABGRtoMemoryblockQZV = &copy_methods::WithAlpha<kABGR>;
inline constexpr auto CopyRGBAtoMemoryblockQZV = &copy_methods::WithAlpha<kRGBA>;
inline constexpr auto CopyBGRAtoMemoryblockQZV = &copy_methods::WithAlpha<kBGRA>;
inline constexpr auto CopyARGBtoMemoryblockQZV_mask = &copy_methods::WithMask<kARGB>;
inline constexpr auto CopyABGRtoMemoryblockQZV_mask = &copy_methods::WithMask<kABGR>;
inline constexpr auto CopyRGBAtoMemoryblockQZV_mask = &copy_methods::WithMask<kRGBA>;
inline constexpr auto CopyBGRAtoMemoryblockQZV_mask = &copy_methods::WithMask<kBGRA, true>;
inline constexpr auto CopyRGBtoMemoryblockQZV = &copy_methods::WithoutAlpha<kRGB>;
inline constexpr auto CopyBGRtoMemoryblockQZV = &copy_methods::WithoutAlpha<kBGR>;
inline constexpr auto CopyXRGBtoMemoryblockQZV = &copy_methods::WithoutAlpha<kXRGB>;
inline constexpr auto CopyXBGRtoMemoryblockQZV = &copy_methods::WithoutAlpha<kXBGR>;
inline constexpr auto CopyRGBXtoMemoryblockQZV = &copy_methods::WithoutAlpha<kRGBX>;
inline constexpr auto CopyBGRXtoMemoryblockQZV = &copy_methods::WithoutAlpha<kBGRX>;
inline constexpr auto CopyRtoMemoryblockQZV = &copy_methods::Channel<kR>;
inline constexpr auto CopyGtoMemoryblockQZV = &copy_methods::Channel<kG>;
inline constexpr auto CopyBtoMemoryblockQZV = &copy_methods::Channel<kB>;
}  // namespace copy_method_names

// The LittleEndian overload of CopyARGBtoMemoryblockQZV: B,G,R,A or A,R,G,B for an alpha
// of 0 to 255, the same layouts with the alpha byte left alone otherwise.
bool CopyARGBtoMemoryblockQZV_littleEndian(REALpictureStruct* picture, REALmemoryBlockStruct* destination,
                                           int32_t offset, signed char littleEndian, int32_t alphaValue,
                                           int32_t startLine, int32_t endLine, int32_t yield, int32_t destRowBytes);
