// The demo's test card and the comparisons of its round trips.
#include "refhost/pixelhost/test_card.h"

#include <algorithm>

namespace pixelhost {
namespace {

uint8_t Ramp(int32_t position, int32_t length) { return static_cast<uint8_t>(position * 255 / (length - 1)); }

std::string Describe(refhost::Rgba colour) {
  return std::to_string(colour.r) + "," + std::to_string(colour.g) + "," + std::to_string(colour.b) + "," +
         std::to_string(colour.a);
}

}  // namespace

refhost::Rgba CardColour(int32_t x, int32_t y) {
  static const refhost::Rgba kBars[] = {{255, 255, 255, 255}, {255, 255, 0, 255}, {0, 255, 255, 255}, {0, 255, 0, 255},
                                        {255, 0, 255, 255},   {255, 0, 0, 255},   {0, 0, 255, 255},   {0, 0, 0, 255}};
  const int32_t band = y * 8 / kCardHeight;
  const uint8_t ramp = Ramp(x, kCardWidth);
  switch (band) {
    case 4:
      return {ramp, 0, 0, 255};
    case 5:
      return {0, ramp, 0, 255};
    case 6:
      return {0, 0, ramp, 255};
    case 7:
      if (x < kCardWidth / 2) {
        const uint8_t gray = Ramp(x, kCardWidth / 2);
        return {gray, gray, gray, 255};
      }
      return {static_cast<uint8_t>(x * 7 + y * 3), static_cast<uint8_t>(x * 3 + y * 11 + 85),
              static_cast<uint8_t>((x ^ y) * 5 + 170), 255};
    default:
      return kBars[x * 8 / kCardWidth];
  }
}

refhost::Rgba MaskColour(int32_t x, int32_t y) {
  const auto green = static_cast<uint8_t>(x * 200 / (kCardWidth - 1) + y * 55 / (kCardHeight - 1));
  return {green, green, green, 255};
}

std::vector<uint8_t> CardBytes(const std::string& layout, const ByteAt& alpha, uint8_t pad) {
  std::vector<uint8_t> bytes;
  bytes.reserve(static_cast<size_t>(kCardWidth) * kCardHeight * layout.size());
  for (int32_t y = 0; y < kCardHeight; ++y) {
    for (int32_t x = 0; x < kCardWidth; ++x) {
      const refhost::Rgba colour = CardColour(x, y);
      for (char role : layout) {
        switch (role) {
          case 'R':
            bytes.push_back(colour.r);
            break;
          case 'G':
            bytes.push_back(colour.g);
            break;
          case 'B':
            bytes.push_back(colour.b);
            break;
          case 'A':
            bytes.push_back(alpha(x, y));
            break;
          default:
            bytes.push_back(pad);
            break;
        }
      }
    }
  }
  return bytes;
}

std::string CompareBytes(const std::vector<uint8_t>& expected, const uint8_t* bytes) {
  const auto differ = std::mismatch(expected.begin(), expected.end(), bytes);
  if (differ.first == expected.end()) return "";
  return "byte " + std::to_string(differ.first - expected.begin()) + " is " + std::to_string(*differ.second) +
         ", expected " + std::to_string(*differ.first);
}

std::string ComparePicture(const refhost::Picture& picture, const ColourAt& expected,
                           std::optional<refhost::Rgba> outside) {
  const int32_t width = outside ? picture.width() : kCardWidth;
  const int32_t height = outside ? picture.height() : kCardHeight;
  const bool sizeOk = outside ? picture.width() >= kCardWidth && picture.height() >= kCardHeight
                              : picture.width() == kCardWidth && picture.height() == kCardHeight;
  if (!sizeOk) return "the picture is " + std::to_string(picture.width()) + "x" + std::to_string(picture.height());
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const bool onCard = x < kCardWidth && y < kCardHeight;
      const refhost::Rgba want = onCard ? expected(x, y) : *outside;
      const refhost::Rgba got = picture.GetPixel(x, y);
      if (got != want)
        return "pixel " + std::to_string(x) + "," + std::to_string(y) + " is " + Describe(got) + ", expected " +
               Describe(want);
    }
  }
  return "";
}

}  // namespace pixelhost
