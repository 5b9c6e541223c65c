// The demo's test card (colour bars, ramps, a patch where every channel differs) and its
// alpha ramp, with the bytes and pictures a round trip must give back.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "refhost/model/pictures.h"

namespace pixelhost {

constexpr int32_t kCardWidth = 320;
constexpr int32_t kCardHeight = 240;

refhost::Rgba CardColour(int32_t x, int32_t y);
// The mask whose green gives alpha: a diagonal ramp, dark (opaque) at the top left.
refhost::Rgba MaskColour(int32_t x, int32_t y);

// A colour, or a byte value, at each place of the card.
using ColourAt = std::function<refhost::Rgba(int32_t x, int32_t y)>;
using ByteAt = std::function<uint8_t(int32_t x, int32_t y)>;

// The card's pixels in `layout`, one letter per byte of a pixel: R, G, B, A (from `alpha`)
// or X (left as `pad`).
std::vector<uint8_t> CardBytes(const std::string& layout, const ByteAt& alpha, uint8_t pad);

// Where `bytes` first differ from `expected`, or "" when they don't.
std::string CompareBytes(const std::vector<uint8_t>& expected, const uint8_t* bytes);

// Where `picture` first differs from `expected` over the card's area, or from `outside`
// beyond it; "" when it doesn't.
std::string ComparePicture(const refhost::Picture& picture, const ColourAt& expected,
                           std::optional<refhost::Rgba> outside = std::nullopt);

}  // namespace pixelhost
