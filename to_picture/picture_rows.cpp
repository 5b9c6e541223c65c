// The plain row kernels of the memory-to-picture layouts.
#include "to_picture/picture_rows.h"

#include <cstring>

PictureRowPlan PlanPictureRow(FormatGroup writer) {
  PictureRowPlan plan{};
  switch (writer) {
    case FormatGroup::kAlphaFirst:  // 255, R, G, B
      plan.redShift = 8, plan.greenShift = 16, plan.blueShift = 24, plan.opaque = 0xFF;
      break;
    case FormatGroup::kRowTable:  // B, G, R, 0 (0 is opaque there)
      plan.redShift = 16, plan.greenShift = 8, plan.blueShift = 0, plan.opaque = 0;
      break;
    default:  // R, G, B, 255
      plan.redShift = 0, plan.greenShift = 8, plan.blueShift = 16, plan.opaque = 0xFF000000u;
      break;
  }
  return plan;
}

namespace {
inline void StorePixel(uint8_t* dst, uint32_t red, uint32_t green, uint32_t blue, const PictureRowPlan& plan) {
  const uint32_t word = (red << plan.redShift) | (green << plan.greenShift) | (blue << plan.blueShift) | plan.opaque;
  memcpy(dst, &word, 4);
}
}  // namespace

void ColourToPictureRow_C(const uint8_t* src, uint8_t* dst, int32_t width, const PictureRowPlan& plan) {
  for (int32_t x = 0; x < width; ++x) {
    StorePixel(dst, src[plan.red], src[plan.green], src[plan.blue], plan);
    src += plan.stride;
    dst += 4;
  }
}

void GrayToPictureRow_C(const uint8_t* src, uint8_t* dst, int32_t width, const PictureRowPlan& plan) {
  const GrayTables& tables = *plan.tables;
  for (int32_t x = 0; x < width; ++x) {
    const uint8_t v = *src;
    StorePixel(dst, tables.red[v], tables.green[v], tables.blue[v], plan);
    src += plan.stride;
    dst += 4;
  }
}

PictureRow::PictureRow(const PictureRowPlan& plan, SimdLevel level, int64_t bytesMoved) : plan_(plan) {
  const bool gray = plan.tables != nullptr;
  plain_ = gray ? GrayToPictureRow_C : ColourToPictureRow_C;
  if (level == SimdLevel::kScalar) return;
  // The byte of a pixel word each channel goes to, and the filler bytes of an opaque pixel.
  const int redByte = plan.redShift / 8, greenByte = plan.greenShift / 8, blueByte = plan.blueShift / 8;
  uint8_t fill[4];
  for (int k = 0; k < 4; ++k) fill[k] = static_cast<uint8_t>(plan.opaque >> (8 * k));
  const RowKernelSet& simd = RowKernelsFor(level);
  if (gray && !(plan.plainGray && plan.stride == 1)) {
    const GrayTables& tables = *plan.tables;
    for (int v = 0; v < 256; ++v)
      words_[v] = (uint32_t{tables.red[v]} << plan.redShift) | (uint32_t{tables.green[v]} << plan.greenShift) |
                  (uint32_t{tables.blue[v]} << plan.blueShift) | plan.opaque;
    words_in_use_ = true;
    if (plan.stride != 1) return;
    tables_fast_ = simd.oneToFourTables;
    tables_.table[redByte] = tables.red;
    tables_.table[greenByte] = tables.green;
    tables_.table[blueByte] = tables.blue;
    memcpy(tables_.fill, fill, sizeof fill);
    return;
  }
  // The same as a byte map: each channel to its byte, the filler bytes set.
  PixelMap map;
  map.inputBytes = static_cast<int8_t>(gray ? 1 : plan.stride);
  map.from[redByte] = static_cast<int8_t>(gray ? 0 : plan.red);
  map.from[greenByte] = static_cast<int8_t>(gray ? 0 : plan.green);
  map.from[blueByte] = static_cast<int8_t>(gray ? 0 : plan.blue);
  memcpy(map.fill, fill, sizeof fill);
  BuildRowPatterns(map, level, &patterns_);
  patterns_.streamStores = StreamsStores(level, bytesMoved);
  const RowKernelSet& shuffles = RowKernelsFor(level, patterns_.streamStores);
  fast_ = gray ? shuffles.oneToFour : plan.stride == 3 ? shuffles.threeToFour : shuffles.fourToFour;
}

void PictureRow::operator()(const uint8_t* src, uint8_t* dst, int32_t width) const {
  if (fast_ != nullptr) return fast_(src, dst, width, patterns_);
  if (words_in_use_) {
    const int32_t done = tables_fast_ != nullptr ? tables_fast_(src, dst, width, tables_) : 0;
    return GrayWordsRow(src + done * plan_.stride, dst + 4 * done, width - done, plan_.stride, words_);
  }
  plain_(src, dst, width, plan_);
}

void GrayWordsRow(const uint8_t* src, uint8_t* dst, int32_t width, int32_t stride, const uint32_t* words) {
  int32_t x = 0;
  // One stride at a time: samples 1 GiB apart would take 2 x stride past 32 bits.
  for (; x + 4 <= width; x += 4) {
    const uint8_t* second = src + stride;
    const uint8_t* third = second + stride;
    const uint8_t* fourth = third + stride;
    const uint32_t four[4] = {words[*src], words[*second], words[*third], words[*fourth]};
    memcpy(dst + 4 * x, four, sizeof four);
    src = fourth + stride;
  }
  for (; x < width; ++x, src += stride) memcpy(dst + 4 * x, &words[*src], 4);
}
