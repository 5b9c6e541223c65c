// Reading the plug-in's method names.
#include "refhost/model/method_names.h"

namespace refhost {

std::string LayoutWord(const std::string& method) {
  // The word between a family's prefix and its suffix: capitals, or "Gray" before "To".
  const auto between = [&](const std::string& prefix, const std::string& suffix) -> std::string {
    if (method.size() <= prefix.size() + suffix.size() || method.rfind(prefix, 0) != 0 ||
        method.compare(method.size() - suffix.size(), suffix.size(), suffix) != 0)
      return "";
    const std::string word = method.substr(prefix.size(), method.size() - prefix.size() - suffix.size());
    return word == "Gray" || word.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == std::string::npos ? word : "";
  };
  for (const char* prefix : {"Ptr", "Memoryblock"})
    for (const char* suffix : {"toPictureQZV", "ToPictureQZV"})
      if (const std::string word = between(prefix, suffix); !word.empty()) return word;
  return between("Copy", "toMemoryblockQZV");
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
