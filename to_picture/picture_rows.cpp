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
