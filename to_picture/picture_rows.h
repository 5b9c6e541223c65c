// Row kernels that turn one row of source bytes into 32-bit pixels of a picture.
#pragma once

#include <cstdint>

#include "pixels/picture_editor.h"
#include "pixels/row_kernels.h"

// Where red, green and blue sit in a source pixel of `bytesPerPixel` bytes.
struct SourceLayout {
  uint8_t bytesPerPixel;
  uint8_t red, green, blue;
};

namespace source_layouts {
inline constexpr SourceLayout kARGB{4, 1, 2, 3};
inline constexpr SourceLayout kABGR{4, 3, 2, 1};
inline constexpr SourceLayout kBGRA{4, 2, 1, 0};
inline constexpr SourceLayout kRGBA{4, 0, 1, 2};
inline constexpr SourceLayout kBGR{3, 2, 1, 0};
inline constexpr SourceLayout kRGB{3, 0, 1, 2};
}  // namespace source_layouts

// Three 256-entry tables that map a gray sample to red, green and blue.
struct GrayTables {
  uint8_t red[256];
  uint8_t green[256];
  uint8_t blue[256];
};

// Everything a row kernel needs, settled once per call. A written pixel is the 32-bit word
// (R << redShift) | (G << greenShift) | (B << blueShift) | opaque, stored in native order.
struct PictureRowPlan {
  int32_t stride;            // source bytes from one pixel (or sample) to the next
  uint8_t red, green, blue;  // colour sources: where each channel sits in a pixel
  uint8_t redShift, greenShift, blueShift;
  uint32_t opaque;           // the alpha (or filler) bits of an opaque pixel in the writer's format
  const GrayTables* tables;  // gray sources
  bool plainGray;            // gray sources whose tables map every sample to itself
};

using PictureRowKernel = void (*)(const uint8_t* src, uint8_t* dst, int32_t width, const PictureRowPlan& plan);

// The destination half of a plan, for the writer's format group.
PictureRowPlan PlanPictureRow(FormatGroup writer);

// The row conversion of one call, chosen once: the plain kernel at the scalar level, a SIMD
// shuffle for colour (and plain gray samples one byte apart), for other gray samples one byte
// apart byte lookups in the channels' tables where the level has them, and otherwise (and
// for the end of a row) one lookup per pixel in a table of finished pixel words. Shuffles
// store around the caches when the call reads and writes more than they hold (`bytesMoved`).
class PictureRow {
 public:
  PictureRow(const PictureRowPlan& plan, SimdLevel level, int64_t bytesMoved = 0);
  void operator()(const uint8_t* src, uint8_t* dst, int32_t width) const;

 private:
  const PictureRowPlan& plan_;
  PictureRowKernel plain_ = nullptr;
  RowKernel fast_ = nullptr;
  RowPatterns patterns_;
  bool words_in_use_ = false;
  uint32_t words_[256];
  TableRowKernel tables_fast_ = nullptr;  // whole steps of samples one byte apart
  ByteTables tables_{};
};

// Gray samples `stride` bytes apart through a table of finished pixel words.
void GrayWordsRow(const uint8_t* src, uint8_t* dst, int32_t width, int32_t stride, const uint32_t* words);

// The plain kernels: the definition every faster one is tested against.
void ColourToPictureRow_C(const uint8_t* src, uint8_t* dst, int32_t width, const PictureRowPlan& plan);
void GrayToPictureRow_C(const uint8_t* src, uint8_t* dst, int32_t width, const PictureRowPlan& plan);
