// The byte orders of the pixels the methods of both directions name (ARGB, ABGR, RGBA, BGRA,
// RGB, BGR), said once as where red, green, blue and the fourth byte sit. The copy layouts,
// the source layouts and a picture's format groups are made from them.
#pragma once

#include <cstdint>

struct ByteOrder {
  static constexpr int8_t kNoFourth = -1;
  int8_t red, green, blue;
  int8_t fourth;  // alpha or a pad byte; kNoFourth in a pixel of three bytes
  constexpr int8_t bytes() const { return fourth == kNoFourth ? 3 : 4; }
};

namespace byte_orders {
inline constexpr ByteOrder kARGB{1, 2, 3, 0};
inline constexpr ByteOrder kABGR{3, 2, 1, 0};
inline constexpr ByteOrder kRGBA{0, 1, 2, 3};
inline constexpr ByteOrder kBGRA{2, 1, 0, 3};
inline constexpr ByteOrder kRGB{0, 1, 2, ByteOrder::kNoFourth};
inline constexpr ByteOrder kBGR{2, 1, 0, ByteOrder::kNoFourth};
}  // namespace byte_orders
