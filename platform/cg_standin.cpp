// Stand-in for CoreGraphics bitmap contexts on platforms without the framework. A context
// only describes pixels that its creator owns.
#include <new>

#include "platform/core_graphics.h"

struct CGContext {
  void* data;
  size_t width;
  size_t height;
  size_t bitsPerComponent;
  size_t bytesPerRow;
  uint32_t bitmapInfo;
};

extern "C" {
CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent, size_t bytesPerRow,
                                   CGColorSpaceRef /*space*/, uint32_t bitmapInfo) {
  if (data == nullptr) return nullptr;
  return new (std::nothrow) CGContext{data, width, height, bitsPerComponent, bytesPerRow, bitmapInfo};
}

void CGContextRelease(CGContextRef context) { delete context; }

void* CGBitmapContextGetData(CGContextRef context) { return context ? context->data : nullptr; }

size_t CGBitmapContextGetBitsPerPixel(CGContextRef context) {
  if (context == nullptr) return 0;
  const bool noAlpha = (context->bitmapInfo & kCGBitmapAlphaInfoMask) == kCGImageAlphaNone;
  return context->bitsPerComponent * (noAlpha ? 3 : 4);
}

size_t CGBitmapContextGetWidth(CGContextRef context) { return context ? context->width : 0; }
size_t CGBitmapContextGetHeight(CGContextRef context) { return context ? context->height : 0; }
size_t CGBitmapContextGetBytesPerRow(CGContextRef context) { return context ? context->bytesPerRow : 0; }
uint32_t CGBitmapContextGetAlphaInfo(CGContextRef context) {
  return context ? context->bitmapInfo & kCGBitmapAlphaInfoMask : 0;
}
}
