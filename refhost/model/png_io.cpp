// PNG reading and writing through the gd library.
#include "refhost/model/png_io.h"

#include <gd.h>

#include <cstdio>
#include <memory>

#include "refhost/model/host.h"

namespace refhost {
namespace {
struct FileCloser {
  void operator()(FILE* file) const { fclose(file); }
};
struct ImageDestroyer {
  void operator()(gdImagePtr image) const { gdImageDestroy(image); }
};
using ImageHandle = std::unique_ptr<gdImage, ImageDestroyer>;
}  // namespace

Picture* LoadPng(Host& host, const std::string& path, PictureSetup setup, std::string* error) {
  std::unique_ptr<FILE, FileCloser> file(fopen(path.c_str(), "rb"));
  if (!file) {
    if (error) *error = "cannot open " + path;
    return nullptr;
  }
  ImageHandle image(gdImageCreateFromPng(file.get()));
  if (!image) {
    if (error) *error = path + " is not a PNG file gd can read";
    return nullptr;
  }
  setup.width = gdImageSX(image.get());
  setup.height = gdImageSY(image.get());
  Picture* picture = host.NewPicture(setup);
  for (int y = 0; y < setup.height; ++y) {
    for (int x = 0; x < setup.width; ++x) {
      const int pixel = gdImageGetTrueColorPixel(image.get(), x, y);
      const int alpha = gdTrueColorGetAlpha(pixel);  // 0 opaque … 127 transparent
      picture->SetPixel(
          x, y,
          Rgba{static_cast<uint8_t>(gdTrueColorGetRed(pixel)), static_cast<uint8_t>(gdTrueColorGetGreen(pixel)),
               static_cast<uint8_t>(gdTrueColorGetBlue(pixel)), static_cast<uint8_t>(255 - (alpha * 255 + 63) / 127)});
    }
  }
  return picture;
}

bool SavePng(const Picture& picture, const std::string& path, std::string* error) {
  ImageHandle image(gdImageCreateTrueColor(picture.width(), picture.height()));
  if (!image) {
    if (error) *error = "out of memory for " + path;
    return false;
  }
  gdImageAlphaBlending(image.get(), 0);
  gdImageSaveAlpha(image.get(), 1);
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      const Rgba colour = picture.GetPixel(x, y);
      gdImageSetPixel(image.get(), x, y, gdTrueColorAlpha(colour.r, colour.g, colour.b, (255 - colour.a) * 127 / 255));
    }
  }
  int size = 0;
  void* bytes = gdImagePngPtr(image.get(), &size);
  std::unique_ptr<FILE, FileCloser> file(fopen(path.c_str(), "wb"));
  const bool written =
      bytes != nullptr && file && fwrite(bytes, 1, static_cast<size_t>(size), file.get()) == static_cast<size_t>(size);
  gdFree(bytes);
  if (!written && error) *error = "cannot write " + path;
  return written;
}

}  // namespace refhost
