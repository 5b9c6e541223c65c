// Reading what a method does from its registered declaration.
#include "refhost/pixelhost/method_shape.h"

#include <algorithm>
#include <cstdio>

#include "refhost/model/method_names.h"
#include "refhost/pixelhost/session.h"

namespace pixelhost {
namespace {

// The parameters every method of a family has.
const char kCommonParams[] = "destination offset StartLine EndLine Yield DestRowBytes source width height";

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

std::optional<MethodShape> ShapeOf(const refhost::RegisteredMethod& method) {
  MethodShape shape;
  shape.method = &method;
  shape.layout = refhost::LayoutWord(method.parsed.name);
  if (shape.layout.empty()) return std::nullopt;
  shape.toMemory = method.parsed.name.rfind("Copy", 0) == 0;
  shape.fromPtr = method.parsed.name.rfind("Ptr", 0) == 0;
  for (const refhost::Parameter& param : method.parsed.params)
    if (!IsOneOf(param.name, kCommonParams)) shape.extras.push_back(ParamKey(param));
  return shape;
}

}  // namespace pixelhost
