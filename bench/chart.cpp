// The benchmark's chart, drawn with gd.
#include <gd.h>
#include <gdfonts.h>
#include <gdfontt.h>

#include <algorithm>
#include <cstdio>
#include <map>

#include "bench/timings.h"

namespace bench {
namespace {

const int kBarWidth = 14, kLeft = 40, kPlotHeight = 300, kLabels = 230;

void Text(gdImagePtr image, gdFontPtr font, int x, int y, const std::string& text, int colour, bool up = false) {
  auto* bytes = reinterpret_cast<unsigned char*>(const_cast<char*>(text.c_str()));
  if (up) gdImageStringUp(image, font, x, y, bytes, colour);
  else gdImageString(image, font, x, y, bytes, colour);
}

// One plot of values up to `top` whose bottom edge is at `bottom`: grid lines at `lines`.
struct Plot {
  gdImagePtr image;
  int bottom;
  double top;
  int y(double value) const { return bottom - static_cast<int>(std::clamp(value, 0.0, top) * kPlotHeight / top); }
  void Grid(std::initializer_list<double> lines, int width, int grid, int black) const {
    for (double value : lines) {
      gdImageLine(image, kLeft, y(value), width - 10, y(value), grid);
      char label[16];
      snprintf(label, sizeof label, value < 10 ? "%.1f" : "%.0f", value);
      Text(image, gdFontGetSmall(), 4, y(value) - 6, label, black);
    }
  }
};

}  // namespace

void DrawChart(const std::vector<Row>& rows, const std::string& path) {
  // The methods in the order they were timed, and each size's row of each.
  std::vector<std::string> methods;
  std::map<std::pair<std::string, int32_t>, const Row*> byWidth;
  for (const Row& row : rows) {
    if (std::find(methods.begin(), methods.end(), row.layout) == methods.end()) methods.push_back(row.layout);
    byWidth[{row.layout, row.size.width}] = &row;
  }
  auto find = [&](const std::string& method, int32_t width) {
    const auto found = byWidth.find({method, width});
    return found != byWidth.end() ? found->second : nullptr;
  };
  const int width = kLeft + static_cast<int>(methods.size()) * kBarWidth + 20;
  const int height = 2 * (kPlotHeight + 40) + kLabels;
  gdImagePtr image = gdImageCreateTrueColor(width, height);
  const int white = gdImageColorAllocate(image, 255, 255, 255), black = gdImageColorAllocate(image, 0, 0, 0);
  const int bar = gdImageColorAllocate(image, 70, 110, 190), dot = gdImageColorAllocate(image, 220, 80, 40);
  const int light = gdImageColorAllocate(image, 150, 190, 240), grid = gdImageColorAllocate(image, 200, 200, 200);
  gdImageFilledRectangle(image, 0, 0, width, height, white);

  const Plot ratios{image, 30 + kPlotHeight, 3.0};  // ratios up to 3
  ratios.Grid({0.5, 1.0, 1.3, 2.0, 3.0}, width, grid, black);
  Text(image, gdFontGetSmall(), kLeft, 8, "median time / memcpy (bars), / nearest libyuv (dots), 1920x1080", black);
  const Plot own{image, ratios.bottom + 40 + kPlotHeight, 250.0};  // nanoseconds up to 250
  own.Grid({35, 50, 100, 150, 200, 250}, width, grid, black);
  Text(image, gdFontGetSmall(), kLeft, ratios.bottom + 18,
       "the plug-in's own median ns per call (host calls answered from a record): 1x1 (dark), 64x64 (light)", black);

  for (size_t i = 0; i < methods.size(); ++i) {
    const int x = kLeft + static_cast<int>(i) * kBarWidth;
    if (const Row* row = find(methods[i], 1920)) {
      gdImageFilledRectangle(image, x + 2, ratios.y(row->method.median / row->copy.median), x + kBarWidth - 2,
                             ratios.y(0), bar);
      if (row->nearest.best > 0)
        gdImageFilledEllipse(image, x + kBarWidth / 2, ratios.y(row->method.median / row->nearest.median), 6, 6, dot);
    }
    const Row* tiny = find(methods[i], 1);
    const Row* small = find(methods[i], 64);
    if (tiny != nullptr && tiny->hostCalls > 0)
      gdImageFilledRectangle(image, x + 1, own.y(tiny->own().median), x + kBarWidth / 2, own.y(0), bar);
    if (small != nullptr && small->hostCalls > 0)
      gdImageFilledRectangle(image, x + kBarWidth / 2, own.y(small->own().median), x + kBarWidth - 1, own.y(0), light);
    Text(image, gdFontGetTiny(), x + 3, height - 4, methods[i], black, true);
  }
  FILE* file = fopen(path.c_str(), "wb");
  if (file != nullptr) {
    gdImagePng(image, file);
    fclose(file);
  }
  gdImageDestroy(image);
}

}  // namespace bench
