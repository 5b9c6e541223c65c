// Reading what a method does from its registered declaration.
#include "refhost/pixelhost/method_shape.h"

#include <algorithm>
#include <cstdio>

#include "refhost/pixelhost/session.h"

namespace pixelhost {
namespace {

// The parameters every method of a family has.
const char kCommonParams[] = "destination offset StartLine EndLine Yield DestRowBytes source width height";

bool Strip(std::string& text, const std::string& prefix, const std::string& suffix) {
  if (text.size() <= prefix.size() + suffix.size() || text.compare(0, prefix.size(), prefix) != 0 ||
      text.compare(text.size() - suffix.size(), suffix.size(), suffix) != 0)
    return false;
  text = text.substr(prefix.size(), text.size() - prefix.size() - suffix.size());
  return true;
}

}  // namespace

bool MethodShape::Has(const std::string& key) const {
  return std::find(extras.begin(), extras.end(), key) != extras.end();
}

std::string MethodShape::Bytes() const {
  if (Has("LittleEndian")) return "BGRA";  // ARGB words stored little-endian, alpha in range
  if (layout.size() == 1 || layout == "Gray") return layout.substr(0, 1) + std::string(kStride - 1, 'X');
  return layout;
}

std::string MethodShape::Label() const {
  std::string label = method->parsed.name;
  for (size_t i = 0; i < extras.size(); ++i) label += (i == 0 ? " [" : " ") + extras[i];
  return extras.empty() ? label : label + "]";
}

std::string MethodShape::FileName(int number) const {
  char prefix[8];
  snprintf(prefix, sizeof prefix, "%02d-", number);
  std::string name = prefix + method->parsed.name;
  for (std::string extra : extras) {
    if (extra.size() > 2 && extra.compare(extra.size() - 2, 2, "()") == 0) extra.replace(extra.size() - 2, 2, "Table");
    name += "-" + extra;
  }
  return name + ".png";
}

// "CopyXRGBtoMemoryblockQZV", "PtrRGBAtoPictureQZV", "MemoryblockGrayToPictureQZV" …
std::optional<MethodShape> ShapeOf(const refhost::RegisteredMethod& method) {
  MethodShape shape;
  shape.method = &method;
  shape.layout = method.parsed.name;
  shape.toMemory = Strip(shape.layout, "Copy", "toMemoryblockQZV");
  if (!shape.toMemory) {
    shape.fromPtr = Strip(shape.layout, "Ptr", "PictureQZV");
    if (!shape.fromPtr && !Strip(shape.layout, "Memoryblock", "PictureQZV")) return std::nullopt;
    if (!Strip(shape.layout, "", "to") && !Strip(shape.layout, "", "To")) return std::nullopt;
  }
  for (const refhost::Parameter& param : method.parsed.params)
    if (!IsOneOf(param.name, kCommonParams)) shape.extras.push_back(ParamKey(param));
  return shape;
}

}  // namespace pixelhost
