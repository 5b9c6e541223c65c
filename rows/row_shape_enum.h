// The shapes of map that row kernels are written for, made from their list
// (row_shape_list.h): the enum, the names, and what a shape's own kernels read.
#pragma once

#include <cstdint>

enum class Shape : uint8_t {
#define PIXELBRIDGE_ROW_SHAPE(name, ...) k##name,
#include "rows/row_shape_list.h"
#undef PIXELBRIDGE_ROW_SHAPE
};
constexpr int kShapeCount = 0
#define PIXELBRIDGE_ROW_SHAPE(...) +1
#include "rows/row_shape_list.h"
#undef PIXELBRIDGE_ROW_SHAPE
    ;

// What a kernel reads: the map alone, or with its pixel words or its shuffle patterns.
enum class RowReads : uint8_t { kMap, kWords, kPatterns };

inline const char* ShapeName(Shape shape) {
  static const char* const kNames[] = {
#define PIXELBRIDGE_ROW_SHAPE(name, text, ...) text,
#include "rows/row_shape_list.h"
#undef PIXELBRIDGE_ROW_SHAPE
  };
  return kNames[static_cast<int>(shape)];
}

constexpr RowReads ReadsOf(Shape shape) {
  constexpr RowReads kReads[] = {
#define PIXELBRIDGE_ROW_SHAPE(name, text, reads, ...) RowReads::reads,
#include "rows/row_shape_list.h"
#undef PIXELBRIDGE_ROW_SHAPE
  };
  return kReads[static_cast<int>(shape)];
}
