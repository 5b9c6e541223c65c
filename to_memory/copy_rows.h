// Row kernels that build one line of a layout from one row of 32-bit source pixels.
#pragma once

#include <cstdint>

#include "pixels/row_kernels.h"
#include "to_memory/copy_layouts.h"

// Everything a row kernel needs, settled once per call.
struct CopyRowPlan {
  static constexpr int8_t kFromAlpha = 4;  // the constant (or mask) alpha
  static constexpr int8_t kKeep = -1;      // not written
  int8_t from[4];                          // per written byte: source byte 0 to 3, kFromAlpha or kKeep
  int32_t stride;                          // bytes from one written pixel to the next
  uint8_t alpha;                           // constant alpha
  uint8_t maskGreen;                       // the mask pixel's green byte
  PixelMap map;                            // the same as a byte map, for the SIMD kernels
};

// src: `width` 32-bit pixels; mask: the mask's row (mask layouts only); dst: the line.
using CopyRowKernel = void (*)(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t width,
                               const CopyRowPlan& plan);

// The plan for `layout` over a source of this format group, and a mask of its own group
// (kNone when the layout takes a constant alpha).
CopyRowPlan PlanCopyRow(const CopyLayout& layout, FormatGroup source, FormatGroup mask, int32_t alpha,
                        int32_t pixelByteSize);

// The layout's kind: every written byte chosen, one of them alpha from a constant or a
// mask, a pad byte kept, three packed bytes, or one channel at a stride.
enum class CopyKind { kFourBytes, kMaskAlpha, kKeepPad, kPacked, kChannel };
CopyKind KindOf(const CopyLayout& layout, bool withMask);

// The row copy of one call, chosen once: the plain kernel at the scalar level (or for a
// channel stride the SIMD kernels don't cover), a SIMD kernel otherwise, storing around the
// caches when the call reads and writes more than they hold (`bytesMoved`).
class CopyRow {
 public:
  CopyRow(CopyKind kind, const CopyRowPlan& plan, SimdLevel level, int64_t bytesMoved = 0);
  void operator()(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t width) const {
    if (masked_ != nullptr) masked_(src, mask, dst, width, patterns_);
    else if (fast_ != nullptr) fast_(src, dst, width, patterns_);
    else plain_(src, mask, dst, width, plan_);
  }

 private:
  const CopyRowPlan& plan_;
  CopyRowKernel plain_ = nullptr;
  RowKernel fast_ = nullptr;
  MaskRowKernel masked_ = nullptr;
  RowPatterns patterns_;
};

// The plain kernels: the definition every faster one is tested against.
void CopyFourBytesRow_C(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t width, const CopyRowPlan& plan);
void CopyMaskAlphaRow_C(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t width, const CopyRowPlan& plan);
void CopyKeepPadRow_C(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t width, const CopyRowPlan& plan);
void CopyPackedRow_C(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t width, const CopyRowPlan& plan);
void CopyChannelRow_C(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t width, const CopyRowPlan& plan);
