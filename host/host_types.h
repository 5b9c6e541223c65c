// Handle types and records that the host hands to the plug-in; shared with every host.
#pragma once

#include <cstddef>
#include <cstdint>

// Host handles: opaque to the plug-in, reference counted by the host.
struct REALobjectStruct;
struct REALpictureStruct;
struct REALmemoryBlockStruct;
struct REALstringStruct;
struct REALarrayInteger;

struct REALmethodDefinition;
struct REALclassDefinition;

// Code of the pixel representation asked of "REALLockPictureDescription".
using RBPixelType = uint32_t;
constexpr RBPixelType kRBPixelTypeBitmapContext = 8;  // a 32-bit CoreGraphics bitmap context
constexpr RBPixelType kRBPixelTypeTrueColor = 10;     // a true-colour image with a row table

// What the host fills in when it locks a picture's pixels.
struct REALpictureDescription {
  uint32_t type;      // RBPixelType that the host filled in
  void* data;         // CGContextRef for type 8, true-colour image record for type 10
  int32_t width;      // pixels per row
  int32_t height;     // rows
  int32_t reserved;   // filled by the host, not read by the plug-in
  uint8_t reserved2;  // likewise
};

// The host's true-colour image record: the prefix of the gd library's image, field by
// field, up to the row table. Only pixels, sx, sy, trueColor and tpixels are read.
constexpr int kTrueColorPaletteSize = 256;
struct TrueColorImage {
  unsigned char** pixels;  // palette rows; null for a true-colour image
  int32_t sx;              // width in pixels
  int32_t sy;              // height in rows
  int32_t colorsTotal;
  int32_t red[kTrueColorPaletteSize];
  int32_t green[kTrueColorPaletteSize];
  int32_t blue[kTrueColorPaletteSize];
  int32_t open[kTrueColorPaletteSize];
  int32_t transparent;
  int32_t* polyInts;
  int32_t polyAllocated;
  void* brush;
  void* tile;
  int32_t brushColorMap[kTrueColorPaletteSize];
  int32_t tileColorMap[kTrueColorPaletteSize];
  int32_t styleLength;
  int32_t stylePos;
  int32_t* style;
  int32_t interlace;
  int32_t thick;
  int32_t alpha[kTrueColorPaletteSize];
  int32_t trueColor;  // non-zero for a true-colour image
  int32_t** tpixels;  // sy row pointers, each to sx pixels (blue bits 0-7 ... alpha 24-30)
};

// The records of each ABI. Words of pointer size give 32-bit ARM and 32-bit Windows the i386
// layout, 64-bit ARM and 64-bit Windows the x86-64 one (no record holds a C long, whose size
// alone differs on 64-bit Windows).
#if defined(__i386__) || defined(__arm__)
static_assert(sizeof(REALpictureDescription) == 24, "picture description is 24 bytes on 32-bit ABIs");
static_assert(offsetof(REALpictureDescription, data) == 4, "description data at byte 4");
static_assert(offsetof(REALpictureDescription, width) == 8, "description width at byte 8");
static_assert(offsetof(REALpictureDescription, height) == 12, "description height at byte 12");
static_assert(offsetof(TrueColorImage, sx) == 4 && offsetof(TrueColorImage, sy) == 8, "image size at bytes 4 and 8");
static_assert(offsetof(TrueColorImage, trueColor) == 7224, "true-colour flag at byte 7224");
static_assert(offsetof(TrueColorImage, tpixels) == 7228, "row table at byte 7228");
#elif defined(__x86_64__) || defined(__aarch64__)
static_assert(sizeof(REALpictureDescription) == 32, "picture description is 32 bytes on 64-bit ABIs");
static_assert(offsetof(REALpictureDescription, data) == 8, "description data at byte 8");
static_assert(offsetof(REALpictureDescription, width) == 16, "description width at byte 16");
static_assert(offsetof(REALpictureDescription, height) == 20, "description height at byte 20");
static_assert(offsetof(TrueColorImage, sx) == 8 && offsetof(TrueColorImage, sy) == 12, "image size at bytes 8 and 12");
static_assert(offsetof(TrueColorImage, trueColor) == 7248, "true-colour flag at byte 7248");
static_assert(offsetof(TrueColorImage, tpixels) == 7256, "row table at byte 7256");
#endif
