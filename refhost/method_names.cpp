// Reading the plug-in's method names.
#include "refhost/method_names.h"

#include <regex>

namespace refhost {

std::string LayoutWord(const std::string& method) {
  static const std::regex kFamilies("Copy([A-Z]+)toMemoryblockQZV|(?:Ptr|Memoryblock)([A-Z]+|Gray)[tT]oPictureQZV");
  std::smatch match;
  if (!std::regex_match(method, match, kFamilies)) return "";
  return match[match[1].matched ? 1 : 2].str();
}

int64_t SourceBytesRead(const std::string& method, int64_t offset, int64_t width, int64_t height,
                        int64_t pixelByteSize) {
  const std::string layout = LayoutWord(method);
  const bool gray = layout == "Gray";
  if (layout.empty() || offset < 0 || width < 1 || height < 1 || (gray && pixelByteSize < 1)) return -1;
  // offset + count × step + last, or INT64_MAX when that doesn't fit.
  auto extent = [offset](int64_t count, int64_t step, int64_t last) {
    return count > (INT64_MAX - offset - last) / step ? INT64_MAX : offset + count * step + last;
  };
  // Gray samples lie PixelByteSize apart and only their first byte is read.
  if (gray) return extent(width * height - 1, pixelByteSize, 1);
  return extent(width * height, static_cast<int64_t>(layout.size()), 0);
}

}  // namespace refhost
