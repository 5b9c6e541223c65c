// The part of CoreGraphics that hosts and the plug-in use: the framework's own header where
// the SDK has it; elsewhere these declarations, with the framework's C signatures, which the
// framework itself resolves on macOS and the project's stand-in library on other systems.
#pragma once

#if defined(__APPLE__) && __has_include(<CoreGraphics/CoreGraphics.h>)
#include <CoreGraphics/CoreGraphics.h>
#else
#include <cstddef>
#include <cstdint>

#if defined(PIXELBRIDGE_BUILDING_CGSTANDIN)
#define CGSTANDIN_API __attribute__((visibility("default")))
#else
#define CGSTANDIN_API
#endif

extern "C" {
typedef struct CGContext* CGContextRef;
typedef struct CGColorSpace* CGColorSpaceRef;  // may be null; ignored by the stand-in

// Alpha info values: bitmapInfo's bits under kCGBitmapAlphaInfoMask.
enum : uint32_t { kCGBitmapAlphaInfoMask = 0x1F };
enum : uint32_t {
  kCGImageAlphaNone = 0,
  kCGImageAlphaPremultipliedLast = 1,
  kCGImageAlphaPremultipliedFirst = 2,
  kCGImageAlphaLast = 3,
  kCGImageAlphaFirst = 4,
  kCGImageAlphaNoneSkipLast = 5,
  kCGImageAlphaNoneSkipFirst = 6,
  kCGImageAlphaOnly = 7,
};

// A context over caller-owned pixels; null when `data` is null.
CGSTANDIN_API CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                                 size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo);
CGSTANDIN_API void CGContextRelease(CGContextRef context);
CGSTANDIN_API void* CGBitmapContextGetData(CGContextRef context);
CGSTANDIN_API size_t CGBitmapContextGetBitsPerPixel(CGContextRef context);
CGSTANDIN_API size_t CGBitmapContextGetWidth(CGContextRef context);
CGSTANDIN_API size_t CGBitmapContextGetHeight(CGContextRef context);
CGSTANDIN_API size_t CGBitmapContextGetBytesPerRow(CGContextRef context);
CGSTANDIN_API uint32_t CGBitmapContextGetAlphaInfo(CGContextRef context);
}
#endif
