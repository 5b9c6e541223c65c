// Picture storage and pixel locks of the reference host.
#include "refhost/model/pictures.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "refhost/model/host.h"

#if PIXELBRIDGE_WITH_LIBGD
#include <gd.h>
// The plug-in reads gd's record through its own declaration of the prefix.
static_assert(offsetof(gdImage, sx) == offsetof(TrueColorImage, sx) &&
                  offsetof(gdImage, sy) == offsetof(TrueColorImage, sy) &&
                  offsetof(gdImage, trueColor) == offsetof(TrueColorImage, trueColor) &&
                  offsetof(gdImage, tpixels) == offsetof(TrueColorImage, tpixels),
              "the plug-in's image record matches gd's");
#endif

namespace refhost {
namespace {

// gd keeps alpha in 7 bits, 0 opaque and 127 transparent.
int32_t ToTrueColor(Rgba colour) {
  const int32_t alpha = (255 - colour.a) >> 1;
  return (alpha << 24) | (colour.r << 16) | (colour.g << 8) | colour.b;
}

Rgba FromTrueColor(int32_t pixel) {
  const int32_t alpha = (pixel >> 24) & 0x7F;
  return Rgba{static_cast<uint8_t>(pixel >> 16), static_cast<uint8_t>(pixel >> 8), static_cast<uint8_t>(pixel),
              static_cast<uint8_t>(alpha == 0 ? 255 : 255 - alpha * 2 - 1)};
}

}  // namespace

Rgba ThroughTrueColor(Rgba colour) { return FromTrueColor(ToTrueColor(colour)); }

namespace {

bool AlphaFirst(uint32_t alphaInfo) {
  return alphaInfo == kCGImageAlphaPremultipliedFirst || alphaInfo == kCGImageAlphaFirst ||
         alphaInfo == kCGImageAlphaNoneSkipFirst;
}

}  // namespace

TrueColorStore::TrueColorStore(int32_t width, int32_t height, bool palette) {
#if PIXELBRIDGE_WITH_LIBGD
  gdImagePtr image = palette ? gdImageCreate(width, height) : gdImageCreateTrueColor(width, height);
  if (image == nullptr) throw std::bad_alloc();
  record_ = reinterpret_cast<TrueColorImage*>(image);
#else
  record_ = static_cast<TrueColorImage*>(calloc(1, sizeof(TrueColorImage)));
  if (record_ == nullptr) throw std::bad_alloc();
  record_->sx = width;
  record_->sy = height;
  const size_t rowBytes = static_cast<size_t>(width) * (palette ? 1 : 4);
  rows_ = std::make_unique<GuardedBuffer>(rowBytes * static_cast<size_t>(height), 0);
  if (palette) {
    for (int32_t y = 0; y < height; ++y) palette_rows_.push_back(rows_->data() + rowBytes * static_cast<size_t>(y));
    record_->pixels = palette_rows_.data();
  } else {
    for (int32_t y = 0; y < height; ++y)
      row_table_.push_back(reinterpret_cast<int32_t*>(rows_->data() + rowBytes * static_cast<size_t>(y)));
    record_->tpixels = row_table_.data();
    record_->trueColor = 1;
  }
#endif
}

TrueColorStore::~TrueColorStore() {
#if PIXELBRIDGE_WITH_LIBGD
  gdImageDestroy(reinterpret_cast<gdImagePtr>(record_));
#else
  free(record_);
#endif
}

void TrueColorStore::Set(int32_t x, int32_t y, Rgba colour) {
  if (record_->tpixels != nullptr) record_->tpixels[y][x] = ToTrueColor(colour);
}

Rgba TrueColorStore::Get(int32_t x, int32_t y) const {
  return record_->tpixels != nullptr ? FromTrueColor(record_->tpixels[y][x]) : Rgba{0, 0, 0, 255};
}

Picture::Picture(const PictureSetup& setup) : Object("Picture"), setup_(setup) {
  // Bitmap and vector pictures may be empty; gd makes no empty images.
  const int32_t smallest = setup.kind == PictureKind::TrueColor ? 1 : 0;
  if (setup.width < smallest || setup.height < smallest) throw std::invalid_argument("picture size");
  switch (setup.kind) {
    case PictureKind::Bitmap: {
      const size_t bits = setup.bits_per_component * (setup.alpha_info == kCGImageAlphaNone ? 3 : 4);
      bytes_per_pixel_ = bits / 8;
      bytes_per_row_ = static_cast<size_t>(setup.width) * bytes_per_pixel_ + static_cast<size_t>(setup.row_padding);
      pixels_ = std::make_unique<GuardedBuffer>(bytes_per_row_ * static_cast<size_t>(setup.height), 0);
      context_ =
          CGBitmapContextCreate(pixels_->data(), static_cast<size_t>(setup.width), static_cast<size_t>(setup.height),
                                setup.bits_per_component, bytes_per_row_, nullptr, setup.alpha_info);
      break;
    }
    case PictureKind::TrueColor:
      store_ = std::make_unique<TrueColorStore>(setup.width, setup.height, setup.palette);
      if (!setup.true_color_flag) store_->record()->trueColor = 0;
      break;
    case PictureKind::Vector:
      drawing_.resize(static_cast<size_t>(setup.width) * static_cast<size_t>(setup.height));
      break;
  }
  Fill(setup.fill);
}

// One pixel set the slow way, then copied along the first row and down the others.
void Picture::Fill(Rgba colour) {
  if (setup_.width == 0 || setup_.height == 0) return;
  if (setup_.kind == PictureKind::Vector) {
    std::fill(drawing_.begin(), drawing_.end(), colour);
    return;
  }
  SetPixel(0, 0, colour);
  const size_t pixel = pixels_ ? bytes_per_pixel_ : 4;
  const size_t row = pixel * static_cast<size_t>(setup_.width);
  auto rowOf = [&](int32_t y) -> uint8_t* {
    return pixels_ ? bitmap_row(y)
                   : reinterpret_cast<uint8_t*>(store_->record()->tpixels ? store_->record()->tpixels[y] : nullptr);
  };
  if (rowOf(0) == nullptr) return;  // palette images stay as made
  for (size_t x = pixel; x < row; x += pixel) memcpy(rowOf(0) + x, rowOf(0), pixel);
  for (int32_t y = 1; y < setup_.height; ++y) memcpy(rowOf(y), rowOf(0), row);
}

Picture::~Picture() {
  if (context_ != nullptr) CGContextRelease(context_);
}

uint8_t* Picture::bitmap_row(int32_t y) const {
  return pixels_ ? pixels_->data() + bytes_per_row_ * static_cast<size_t>(y) : nullptr;
}

void Picture::SetPixel(int32_t x, int32_t y, Rgba colour) {
  if (x < 0 || y < 0 || x >= setup_.width || y >= setup_.height) return;
  if (pixels_) {
    uint8_t* pixel = bitmap_row(y) + static_cast<size_t>(x) * bytes_per_pixel_;
    if (bytes_per_pixel_ == 4 && AlphaFirst(setup_.alpha_info)) {
      pixel[0] = colour.a, pixel[1] = colour.r, pixel[2] = colour.g, pixel[3] = colour.b;
    } else {
      pixel[0] = colour.r, pixel[1] = colour.g, pixel[2] = colour.b;
      if (bytes_per_pixel_ == 4) pixel[3] = colour.a;
    }
  } else if (setup_.kind == PictureKind::Vector) {
    drawing_[static_cast<size_t>(y) * static_cast<size_t>(setup_.width) + static_cast<size_t>(x)] = colour;
  } else {
    store_->Set(x, y, colour);
  }
}

Rgba Picture::GetPixel(int32_t x, int32_t y) const {
  if (pixels_) {
    const uint8_t* pixel = bitmap_row(y) + static_cast<size_t>(x) * bytes_per_pixel_;
    if (bytes_per_pixel_ == 4 && AlphaFirst(setup_.alpha_info)) return Rgba{pixel[1], pixel[2], pixel[3], pixel[0]};
    return Rgba{pixel[0], pixel[1], pixel[2], bytes_per_pixel_ == 4 ? pixel[3] : uint8_t{255}};
  }
  if (setup_.kind == PictureKind::Vector)
    return drawing_[static_cast<size_t>(y) * static_cast<size_t>(setup_.width) + static_cast<size_t>(x)];
  return store_->Get(x, y);
}

bool Picture::Lock(REALpictureDescription* description, RBPixelType type, bool lendTrueColor) {
  if (setup_.refuse_locks || description == nullptr) return false;
  void* data = nullptr;
  if (setup_.kind == PictureKind::Bitmap && type == kRBPixelTypeBitmapContext) {
    data = context_;
  } else if (setup_.kind == PictureKind::TrueColor && type == kRBPixelTypeTrueColor) {
    data = store_->record();
  } else if (type == kRBPixelTypeTrueColor && lendTrueColor && setup_.width > 0 && setup_.height > 0) {
    // Lends a true-colour rendering of itself, taken back into the picture at unlock (an
    // empty picture has none: gd makes no empty images).
    if (!store_) store_ = std::make_unique<TrueColorStore>(setup_.width, setup_.height, false);
    for (int32_t y = 0; y < setup_.height; ++y)
      for (int32_t x = 0; x < setup_.width; ++x) store_->Set(x, y, GetPixel(x, y));
    lent_ = true;
    data = store_->record();
  } else {
    return false;
  }
  description->type = type;
  description->data = data;
  description->width = setup_.width;
  description->height = setup_.height;
  ++locks_;
  return true;
}

void Picture::Unlock() {
  if (locks_ == 0) {
    ++stray_unlocks_;
    return;
  }
  if (--locks_ == 0 && lent_) {
    lent_ = false;
    for (int32_t y = 0; y < setup_.height; ++y)
      for (int32_t x = 0; x < setup_.width; ++x) SetPixel(x, y, store_->Get(x, y));
  }
}

bool Picture::GetInt(const std::string& name, int32_t* value) {
  if (name == "Width") *value = setup_.width;
  else if (name == "Height") *value = setup_.height;
  else return false;
  return true;
}

bool Picture::GetBool(const std::string& name, bool* value) {
  if (name != "HasAlphaChannel") return false;
  *value = setup_.has_alpha;
  return true;
}

void Graphics::ReleaseHeld(Host& host) { host.Release(target_); }

}  // namespace refhost
