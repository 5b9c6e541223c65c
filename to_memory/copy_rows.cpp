// The plain row kernels of the picture-to-memory layouts, and the choice among them.
#include "to_memory/copy_rows.h"

CopyRowPlan PlanCopyRow(const CopyLayout& layout, FormatGroup source, FormatGroup mask, int32_t alpha,
                        int32_t pixelByteSize) {
  const SourceBytes bytes = SourceBytesOf(source);
  CopyRowPlan plan{};
  for (int k = 0; k < 4; ++k) {
    switch (layout.bytes[k]) {
      case OutByte::kRed:
        plan.from[k] = static_cast<int8_t>(bytes.red);
        break;
      case OutByte::kGreen:
        plan.from[k] = static_cast<int8_t>(bytes.green);
        break;
      case OutByte::kBlue:
        plan.from[k] = static_cast<int8_t>(bytes.blue);
        break;
      case OutByte::kAlpha:
        plan.from[k] = CopyRowPlan::kFromAlpha;
        break;
      case OutByte::kKeep:
        plan.from[k] = CopyRowPlan::kKeep;
        break;
    }
  }
  plan.stride = layout.bytesPerPixel != 0 ? layout.bytesPerPixel : pixelByteSize;
  plan.alpha = static_cast<uint8_t>(alpha);
  plan.maskGreen = SourceBytesOf(mask).green;

  // The same as a byte map: one written pixel of `stride` bytes (up to four) per source pixel.
  PixelMap& map = plan.map;
  map.outputBytes = static_cast<int8_t>(plan.stride >= 1 && plan.stride <= 4 ? plan.stride : 1);
  for (int k = 0; k < map.outputBytes; ++k) {
    const int8_t from = plan.from[k];
    if (from >= 0 && from < 4) map.from[k] = from;
    else if (from == CopyRowPlan::kKeep) map.keep[k] = 0xFF;
    else if (mask != FormatGroup::kNone) map.maskTo = static_cast<int8_t>(k);
    else map.fill[k] = plan.alpha;
  }
  map.maskGreen = static_cast<int8_t>(plan.maskGreen);
  return plan;
}

CopyKind KindOf(const CopyLayout& layout, bool withMask) {
  if (withMask) return CopyKind::kMaskAlpha;
  if (layout.bytesPerPixel == 0) return CopyKind::kChannel;
  if (layout.bytesPerPixel == 3) return CopyKind::kPacked;
  for (OutByte byte : layout.bytes)
    if (byte == OutByte::kKeep) return CopyKind::kKeepPad;
  return CopyKind::kFourBytes;
}

namespace {
// Four written bytes chosen from the source's four and the alpha: a constant, or 255 minus
// the mask pixel's green.
template <bool kMasked>
void FourBytesRow(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t width, const CopyRowPlan& plan) {
  for (int32_t x = 0; x < width; ++x) {
    const uint8_t alpha = kMasked ? static_cast<uint8_t>(255 - mask[4 * x + plan.maskGreen]) : plan.alpha;
    const uint8_t in[5] = {src[0], src[1], src[2], src[3], alpha};
    dst[0] = in[plan.from[0]];
    dst[1] = in[plan.from[1]];
    dst[2] = in[plan.from[2]];
    dst[3] = in[plan.from[3]];
    src += 4;
    dst += 4;
  }
}
}  // namespace

void CopyFourBytesRow_C(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t width, const CopyRowPlan& plan) {
  FourBytesRow<false>(src, mask, dst, width, plan);
}

void CopyMaskAlphaRow_C(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t width, const CopyRowPlan& plan) {
  FourBytesRow<true>(src, mask, dst, width, plan);
}

void CopyKeepPadRow_C(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t width, const CopyRowPlan& plan) {
  for (int32_t x = 0; x < width; ++x) {
    for (int k = 0; k < 4; ++k)
      if (plan.from[k] != CopyRowPlan::kKeep) dst[k] = src[plan.from[k]];
    src += 4;
    dst += 4;
  }
}

void CopyPackedRow_C(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t width, const CopyRowPlan& plan) {
  for (int32_t x = 0; x < width; ++x) {
    dst[0] = src[plan.from[0]];
    dst[1] = src[plan.from[1]];
    dst[2] = src[plan.from[2]];
    src += 4;
    dst += 3;
  }
}

void CopyChannelRow_C(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t width, const CopyRowPlan& plan) {
  for (int32_t x = 0; x < width; ++x) {
    *dst = src[plan.from[0]];
    src += 4;
    dst += plan.stride;
  }
}

CopyRow::CopyRow(CopyKind kind, const CopyRowPlan& plan, SimdLevel level, int64_t bytesMoved) : plan_(plan) {
  BuildRowPatterns(plan.map, level, &patterns_);
  const bool keeping = kind == CopyKind::kKeepPad || (kind == CopyKind::kChannel && plan.stride != 1);
  patterns_.streamStores = !keeping && StreamsStores(level, bytesMoved);
  const RowKernelSet& simd = RowKernelsFor(level, patterns_.streamStores);
  const bool scalar = level == SimdLevel::kScalar;
  switch (kind) {
    case CopyKind::kFourBytes:
      plain_ = CopyFourBytesRow_C, fast_ = scalar ? nullptr : simd.fourToFour;
      break;
    case CopyKind::kMaskAlpha:
      plain_ = CopyMaskAlphaRow_C, masked_ = scalar ? nullptr : simd.fourToFourMasked;
      break;
    case CopyKind::kKeepPad:
      plain_ = CopyKeepPadRow_C, fast_ = scalar ? nullptr : simd.fourToFourKeeping;
      break;
    case CopyKind::kPacked:
      plain_ = CopyPackedRow_C, fast_ = scalar ? nullptr : simd.fourToThree;
      break;
    case CopyKind::kChannel:
      plain_ = CopyChannelRow_C;
      if (scalar) break;
      if (plan.stride == 1) fast_ = simd.fourToOne;
      if (plan.stride == 3) fast_ = simd.fourToThreeKeeping;
      if (plan.stride == 4) fast_ = simd.fourToFourKeeping;
      break;
  }
}
